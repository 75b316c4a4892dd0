// The pool tool's process.
#include "d2b/D2b.h"

int main(int argc, char** argv) {
    return workstation::d2b::RunD2b(argc, argv);
}

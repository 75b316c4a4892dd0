// The pool tool's process.
#include "d2b/D2b.h"

int main(int argc, char** argv) {
    return workstation::RunD2b(argc, argv);
}

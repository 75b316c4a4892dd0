// Exits with the file-system type of the pool as a new process sees it.
#include "StreamFileAccess.h"

int main() {
    return StreamFileAccess::fileSystemType;
}

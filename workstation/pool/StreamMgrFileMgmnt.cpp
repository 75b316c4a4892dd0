// The process table for reading, as the seam offers it.
#include "StreamMgrFileMgmnt.h"

#include <sys/mman.h>

#include "Root.h"
#include "SeamCall.h"
#include "pool/ProcessTable.h"

StreamMgrFileMgmnt::StreamMgrFileMgmnt() = default;

StreamMgrFileMgmnt::~StreamMgrFileMgmnt() {
    if (processTable_ != nullptr) {
        munmap(const_cast<unsigned char*>(processTable_),
               sizeof(workstation::pool::ProcessTableData));
    }
}

bool StreamMgrFileMgmnt::Initialize(int table, bool create, bool writable) {
    if (table != 0 || create || writable) {
        return false;
    }
    if (processTable_ != nullptr) {
        return true;
    }
    return workstation::AtSeam(false, [&] {
        processTable_ = static_cast<unsigned char const*>(
            workstation::pool::ProcessTable::MapReadOnly(workstation::ProcessTablePath())
                .Release());
        return true;
    });
}

unsigned char const* StreamMgrFileMgmnt::ProcessTable() const {
    return processTable_;
}

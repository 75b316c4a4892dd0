// The tables that everyone who works on the pool shares, for looking at.
#include "StreamMgrFileMgmnt.h"

#include <sys/mman.h>

#include "Root.h"
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
    if (processTable_ == nullptr) {
        workstation::Trouble why;
        processTable_ = static_cast<unsigned char const*>(
            workstation::pool::ProcessTable::MapForLooking(workstation::ProcessTablePath(), why)
                .Release());
    }
    return processTable_ != nullptr;
}

unsigned char const* StreamMgrFileMgmnt::ProcessTable() const {
    return processTable_;
}

// The shared tables, scripted.
#include "StreamMgrFileMgmnt.h"

#include "FakePlatform.h"
#include "Show.h"

StreamMgrFileMgmnt::StreamMgrFileMgmnt() {
    FakePlatform::Get().Note("StreamMgrFileMgmnt()");
}

StreamMgrFileMgmnt::~StreamMgrFileMgmnt() {
    FakePlatform::Get().Note("~StreamMgrFileMgmnt()");
}

bool StreamMgrFileMgmnt::Initialize(int table, bool create, bool writable) {
    FakePlatform& platform = FakePlatform::Get();
    if (table != 0 || create || writable) {
        platform.Breach("the tables are mapped in a way that is not in use");
    }
    if (platform.Ask("tables.", "Initialize", ShowAll(table, create, writable), 1) == 0) {
        return false;
    }
    if (!platform.pool.processTable.empty()) {
        processTable_ = platform.pool.processTable.data();
    }
    return true;
}

unsigned char const* StreamMgrFileMgmnt::ProcessTable() const {
    return processTable_;
}

// The names of the services: only the stream manager has one.
#include "LinxServerNameList.h"

#include "FakePlatform.h"
#include "Show.h"

LinxServerNameList* LinxServerNameList::Instance() {
    static LinxServerNameList list;
    return &list;
}

std::string const& LinxServerNameList::Name(e_Process process) const {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("ServerName(" + Show(static_cast<int>(process)) + ")");
    static std::string const noName;
    return process == e_StreamMgr ? platform.serviceName : noName;
}

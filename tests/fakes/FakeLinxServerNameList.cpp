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
    if (process != e_StreamMgr) {
        platform.Breach("a service without a name");
    }
    return platform.serviceName;
}

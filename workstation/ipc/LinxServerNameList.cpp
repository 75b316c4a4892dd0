// The names under which the recorder's services are reached over IPC.
#include "LinxServerNameList.h"

LinxServerNameList* LinxServerNameList::Instance() {
    static auto* const list = new LinxServerNameList;
    return list;
}

std::string const& LinxServerNameList::Name(e_Process process) const {
    static auto const* const streamMgr = new std::string("StreamMgr");
    static auto const* const noName = new std::string;
    return process == e_StreamMgr ? *streamMgr : *noName;
}

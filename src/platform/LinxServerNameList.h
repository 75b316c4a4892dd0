// The names under which the recorder's services are reached over IPC.
#pragma once

#include <string>

// The services of the recorder. The numbers are part of the interface.
enum e_Process {
    e_StreamMgr = 20,
};

class LinxServerNameList {
public:
    // The list of this process. Never destroyed.
    static LinxServerNameList* Instance();

    // The IPC name of a service; empty when the service has no name. The reference stays valid.
    std::string const& Name(e_Process process) const;

private:
    LinxServerNameList() = default;
};

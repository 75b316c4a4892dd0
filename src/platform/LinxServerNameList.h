// The names under which the recorder's services are reached over IPC.
#pragma once

#include <string>

// The services of the recorder. The numbers are fixed.
enum e_Process {
    e_StreamMgr = 20,
};

class LinxServerNameList {
public:
    // The only list. Never destroyed.
    static LinxServerNameList* Instance();

    // The IPC name of a service; empty for one that has none. Belongs to the list.
    std::string const& Name(e_Process process) const;

private:
    LinxServerNameList() = default;
};

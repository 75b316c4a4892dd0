// The processes that use the pool, as --lproc shows them.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "Recorder.h"

namespace e2e {

// A process with the files of its threads; their handles read HANDLE.
std::string ListedProcess(int record, pid_t pid, Words const& commandLine,
                          std::vector<int> const& files = {});

// The same for the service, which only a tool of its byte order lists.
std::string ListedService(pid_t pid, Words const& arguments = {},
                          std::vector<int> const& files = {});

// What --lproc prints, with HANDLE for the handles and the threads of a process sorted by file.
Outcome ListProcesses(Recorder const& recorder);

} // namespace e2e

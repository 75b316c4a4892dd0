// The running command of a source.
#pragma once

#include <sys/types.h>

#include <string>

#include "FileDescriptor.h"

namespace workstation::service::recording {

// Run by `/bin/sh -c` in a session of its own, so that no signal for the service reaches it. It and
// everything that it started end with the object, and also when the service is killed: the program
// StreamMgrExec, which lies beside that of the service, sees to it.
class Command {
public:
    // Throws a Failure.
    explicit Command(std::string const& command);
    ~Command();

    Command(Command const&) = delete;
    Command& operator=(Command const&) = delete;

    // Ends of pipes, which do not block.
    FileDescriptor const& Output() const { return output_; }
    FileDescriptor const& Errors() const { return errors_; }

    // Waits for the command, which has closed its output, and ends it if it goes on. Its exit
    // status; 128 and the number of the signal that ended it.
    int Finish();

private:
    void AwaitEnd(int timeoutMs) const;
    int Reap();

    FileDescriptor life_; // a pipe; the command runs while it is open
    FileDescriptor output_;
    FileDescriptor errors_;
    pid_t pid_ = -1;       // of StreamMgrExec; -1 when it has ended
    FileDescriptor ended_; // readable when StreamMgrExec has ended
};

} // namespace workstation::service::recording

// The calls that make bytes durable, watched by a test.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace workstation {

// While it exists, the program's calls of fsync, fdatasync and msync are recorded, and each call of
// the function named `failing` fails with `error`. One at a time. The test program is linked with
// SyncCalls.cpp and wraps the three functions.
class SyncCalls {
public:
    explicit SyncCalls(std::string failing = "", int error = 0);
    ~SyncCalls();
    SyncCalls(SyncCalls const&) = delete;
    SyncCalls& operator=(SyncCalls const&) = delete;

    // The functions that were called, in their order.
    std::vector<std::string> const& Names() const { return names_; }

    // Makes the process end, as by kill -9, at the call with this number, from 1.
    void KillAt(std::size_t call) { killAt_ = call; }

    // Records a call. Returns its errno value; 0 when it is to be carried out.
    int ErrorOf(char const* name);

private:
    std::string failing_;
    int error_;
    std::size_t killAt_ = 0;
    std::vector<std::string> names_;
};

} // namespace workstation

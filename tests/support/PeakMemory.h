// How much memory a program needs.
#pragma once

#include <gtest/gtest.h>
#include <sys/ptrace.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/Execute.h"

// How a program ended, and its largest resident memory.
struct MeasuredRun {
    int status;
    long peakMemoryKiB;
};

// Runs a program whose standard output goes into a file. Its memory is read when it is about to
// end: what wait4(2) returns is at least the memory of the test that started it.
inline MeasuredRun RunMeasured(std::vector<std::string> const& program,
                               std::string const& output = "/dev/null") {
    ChildProcess child([&] {
        bool const isReady = ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 &&
                             std::freopen(output.c_str(), "w", stdout) != nullptr;
        return isReady ? Execute(program) : 98;
    });
    int status = 0;
    waitpid(child.Pid(), &status, 0); // it has been loaded
    EXPECT_TRUE(WIFSTOPPED(status));
    ptrace(PTRACE_SETOPTIONS, child.Pid(), nullptr, PTRACE_O_TRACEEXIT);
    ptrace(PTRACE_CONT, child.Pid(), nullptr, nullptr);
    waitpid(child.Pid(), &status, 0); // it ends
    EXPECT_EQ(status >> 8, SIGTRAP | PTRACE_EVENT_EXIT << 8);
    std::ifstream text("/proc/" + std::to_string(child.Pid()) + "/status");
    MeasuredRun run{-1, -1};
    for (std::string word; run.peakMemoryKiB < 0 && text >> word;) {
        if (word == "VmHWM:") {
            text >> run.peakMemoryKiB;
        }
    }
    ptrace(PTRACE_CONT, child.Pid(), nullptr, nullptr);
    run.status = child.Wait();
    return run;
}

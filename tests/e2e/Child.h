// A program that a test runs as a person runs it: with input, output, signals and an end.
#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <chrono>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "FileDescriptor.h"

namespace e2e {

// The longest that a test waits for something. After that it fails.
constexpr std::chrono::seconds patience{100};

struct Command {
    std::vector<std::string> words;
    std::map<std::string, std::string> environment = {}; // on top of the test's own
    std::string input = {};                              // then end of file
    std::string outputPath = {};                         // takes standard output when not empty
    bool onTerminal = false;                             // errors are then part of `out`
    std::map<int, rlim_t> limits = {}; // by resource; a call that would exceed one fails
};

// How a program ended and everything that it printed.
struct Outcome {
    int status; // exit status; the negative number of the signal that ended it
    std::string out;
    std::string err;

    bool operator==(Outcome const&) const = default;
};

std::ostream& operator<<(std::ostream& stream, Outcome const& outcome);

// A running program in a process group of its own. Whatever is left of the group when the object
// goes is killed.
class Child {
public:
    explicit Child(Command const& command);
    ~Child();

    Child(Child const&) = delete;
    Child& operator=(Child const&) = delete;

    pid_t Pid() const { return pid_; }

    void Signal(int number) const;

    // Types on the terminal, or writes into the pipe, that is the program's input.
    void Type(std::string const& text);

    // Ends the program's input, after everything that was typed.
    void EndInput();

    // Waits until standard output contains the text; false when it ends first.
    bool Says(std::string const& text);

    // Feeds the input, waits for the end and returns everything that was printed. A program that
    // does not end within the patience is killed, and the test fails.
    Outcome Finish();

    // The largest resident memory that the program had, or the test when it started it. After the
    // end only.
    long PeakMemoryKiB() const { return peakMemoryKiB_; }

private:
    using Deadline = std::chrono::steady_clock::time_point;

    bool Exchange(Deadline deadline);
    bool HasOutput() const { return out_ || err_; }
    void Feed();
    bool HasEnded(Deadline deadline) const;
    void Reap();

    pid_t pid_ = -1;
    bool ended_ = false;
    workstation::FileDescriptor exit_; // readable when the process has ended
    workstation::FileDescriptor in_;
    workstation::FileDescriptor out_;
    workstation::FileDescriptor err_;
    std::string unfed_; // of the input
    bool inputEnds_ = false;
    Outcome outcome_{};
    long peakMemoryKiB_ = 0;
};

// Starts a program and waits for its end.
Outcome RunToEnd(Command const& command);

} // namespace e2e

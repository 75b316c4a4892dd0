// The command-line frame: runs a command line by calling the virtual operations of a tool.
#pragma once

#include <getopt.h>

#include <string>

class LinxIpc;

// Base class of every command-line tool of the recorder. A tool derives from it, implements its
// options in ProcessOption, and calls Go once.
//
// Statuses: 1 prepared, 2 failed, 3 carried out.
//
// The order of the virtual operations is part of the interface: it is that of the vtable which
// the recorder's library was built with.
class CommonCli {
public:
    CommonCli();
    virtual ~CommonCli();

    CommonCli(CommonCli const&) = delete;
    CommonCli& operator=(CommonCli const&) = delete;

    // Prints the tool's usage text on standard output.
    virtual void Usage() = 0;

    // Prints the log level of `server` and a menu of levels, and sets the level that is chosen on
    // standard input. Returns 3 when the level was set; 2, after a line on standard error, when the
    // input ended or is not in the menu, or when the server did not answer.
    virtual unsigned int HandleLogLevel(LinxIpc& ipc, std::string const& server);

    // Sets the log level (bits: 1 errors and notifications, 2 notes) of `server` and waits until
    // the server has confirmed it. Returns 1 on success; 0, after a line on standard error, on
    // failure.
    virtual unsigned int SetLogLevel(LinxIpc& ipc, std::string const& server, unsigned int level);

    // Carries out one option and returns 3 on success, 2 on failure. `option` is the value that
    // getopt_long returns, '?' for an unknown option and for an argument that belongs to no option.
    // `argument` is the text of the option's argument, null for an option without one.
    virtual unsigned int ProcessOption(int option, char const* argument) = 0;

    // Called after PostInit; 3 on success. The base class does nothing.
    virtual unsigned int RunIt();

    // Called before the first option; 1 on success. The base class does nothing.
    virtual unsigned int PreInit();

    // Called after the last option; 1 on success.
    virtual unsigned int PostInit() { return 1; }

    // Runs the whole command line: PreInit once, ProcessOption for each option in command-line
    // order, PostInit, RunIt. A failure does not stop the steps after it. An exception that leaves
    // ProcessOption is reported on standard error and is a failure of that option. A command line
    // without options prints the usage text and is a failure. `longOptions` ends with an all-zero
    // entry. Returns 3 when everything succeeded, else 2.
    unsigned int Go(char** argv, int argc, std::string const& shortOptions,
                    option const* longOptions);
};

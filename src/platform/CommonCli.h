// The command-line frame: runs one command line against the virtual operations of a tool.
#pragma once

#include <getopt.h>

#include <string>

class LinxIpc;

// Base class of every command-line tool of the recorder. A tool derives from it, says how its
// options are carried out, and calls Go once.
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

    // Shows the log level of `server`, offers the levels in a menu and sets the one that is chosen
    // on standard input. 3 when the level was set, 2 (with one line on standard error) when the
    // input ended or was no choice of the menu, or when the server did not answer.
    virtual unsigned int HandleLogLevel(LinxIpc& ipc, std::string const& server);

    // Sets the log level (bits: 1 errors and notifications, 2 notes) of `server` and waits until
    // the server has confirmed it. 1 on success, 0 (with one line on standard error) on failure.
    virtual unsigned int SetLogLevel(LinxIpc& ipc, std::string const& server, unsigned int level);

    // Carries out one option: `option` is its value as getopt_long gives it, `argument` its text,
    // null for an option without one. '?' stands for whatever belongs to no option.
    virtual unsigned int ProcessOption(int option, char const* argument) = 0;

    // Called after the last option; 3 on success. The frame's own does nothing.
    virtual unsigned int RunIt();

    // Called before the first option; 1 on success. The frame's own does nothing.
    virtual unsigned int PreInit();

    // Called between the last option and RunIt; 1 on success.
    virtual unsigned int PostInit() { return 1; }

    // Runs the whole command line: PreInit once, ProcessOption for each option in command-line
    // order, PostInit, RunIt. Nothing that fails stops what comes after it. An exception that
    // leaves an option is reported on standard error and counts as its failure. A command line
    // without any option prints the usage text and counts as failed. `longOptions` ends with an
    // all-zero entry. Returns 3 when everything succeeded, else 2.
    unsigned int Go(char** argv, int argc, std::string const& shortOptions,
                    option const* longOptions);
};

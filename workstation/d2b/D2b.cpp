// The pool tool: makes, fills, changes and checks the pool of a workstation recorder.
#include "d2b/D2b.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>

#include "Environment.h"
#include "Version.h"
#include "d2b/Commands.h"

namespace workstation::d2b {
namespace {

constexpr int failed = 1;
constexpr int misuse = 2;

int Report(std::string const& problem, int status) {
    std::cerr << "d2b: " << problem << "\n";
    return status;
}

} // namespace

int RunD2b(int argc, char const* const* argv) {
    CLI::App tool("Works on the pool of the recorder in $STREAMMGR_ROOT.", "d2b");
    tool.footer(environmentHelp);
    tool.set_version_flag("--version", std::string("d2b ") + version, "Prints the version");
    tool.require_subcommand(1);
    AddCreateCommand(tool);
    AddLoadCommand(tool);
    AddSetCommand(tool);
    AddTickCommand(tool);
    AddCheckCommand(tool);
    AddEvidenceCommands(tool);
    try {
        tool.parse(argc, argv);
        return 0;
    } catch (CLI::RuntimeError const& ended) { // a command that has said everything itself
        return ended.get_exit_code();
    } catch (CLI::ParseError const& problem) {
        bool const isAnswer = problem.get_exit_code() == 0; // help or version
        return isAnswer ? tool.exit(problem)
                        : Report(std::string(problem.what()) + " (see d2b --help)", misuse);
    } catch (std::exception const& problem) {
        return Report(problem.what(), failed);
    }
}

} // namespace workstation::d2b

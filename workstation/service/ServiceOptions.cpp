// The command line of the service StreamMgr.
#include "service/ServiceOptions.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "Environment.h"
#include "Failure.h"
#include "Version.h"
#include "service/RecordOption.h"

namespace workstation::service {
namespace {

int Misuse(std::string const& reason) {
    std::cerr << "StreamMgr: " << reason << std::endl;
    return 2;
}

// Why a file cannot be read again; empty when it can.
std::string WhyNotReadAgain(std::string const& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return "cannot read '" + path + "': " + std::strerror(errno);
    }
    return S_ISREG(status.st_mode) ? "" : "'" + path + "' is no regular file";
}

class CommandLine {
public:
    CommandLine();

    // Throws a CLI::ParseError or a Failure.
    ServiceOptions Parse(int argc, char const* const* argv);

    // The configuration file must be one that can be read again.
    void ReadFileAgain() { app_.get_config_ptr()->check(WhyNotReadAgain); }
    bool HasFile() const { return app_.get_config_ptr()->count() > 0; }

    std::string ReasonOf(CLI::ParseError const& error) const;

    // Prints the help or the version. The exit status.
    int Exit(CLI::ParseError const& error) const { return app_.exit(error); }

private:
    CLI::App app_{"The stream manager: owns the recorder's pool of stream files, records into it "
                  "and serves StreamMgrCli. Works on $STREAMMGR_ROOT, in the foreground, until it "
                  "is told to quit.",
                  "StreamMgr"};
    std::vector<std::string> recordings_;
    bool isFast_ = false;
    bool loops_ = false;
};

CommandLine::CommandLine() {
    app_.footer(environmentHelp);
    app_.set_version_flag("--version", std::string("StreamMgr ") + version, "print the version");
    app_.add_option("--record", recordings_,
                    "record a transport stream into stream 1 to 4: from a file, in real time; as "
                    "it comes, from standard input (-), a FIFO, a device, a command "
                    "(exec:COMMAND) or UDP datagrams (udp://ADDRESS:PORT); the last four are "
                    "begun again when they end")
        ->type_name("STREAM=SOURCE");
    app_.add_flag("--fast", isFast_, "read all files as fast as they can be read");
    app_.add_flag("--loop", loops_, "read all files again and again");
    app_.set_config("--config", "",
                    "read options from a file, such as record = [\"1=-\"]; again on SIGHUP")
        ->type_name("FILE");
    app_.allow_config_extras(CLI::config_extras_mode::error);
}

ServiceOptions CommandLine::Parse(int argc, char const* const* argv) {
    app_.parse(argc, argv);
    ServiceOptions options = ParseRecordOptions(recordings_);
    for (recording::RecordingSettings& settings : options) {
        settings.isFast = isFast_;
        settings.loops = loops_;
    }
    return options;
}

// A line of a file is not shown: it may hold a password.
std::string CommandLine::ReasonOf(CLI::ParseError const& error) const {
    auto const code = static_cast<CLI::ExitCodes>(error.get_exit_code());
    bool const mayShowLine =
        code == CLI::ExitCodes::ConfigError || code == CLI::ExitCodes::ConversionError;
    if (HasFile() && mayShowLine) {
        return "'" + app_.get_config_ptr()->as<std::string>() +
               "' contains something other than values of record, fast and loop";
    }
    return error.what();
}

} // namespace

std::variant<ServiceOptions, int> ParseServiceOptions(int argc, char const* const* argv) {
    CommandLine commandLine;
    try {
        return commandLine.Parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        if (error.get_exit_code() == 0) {
            return commandLine.Exit(error);
        }
        return Misuse(commandLine.ReasonOf(error) + " (see StreamMgr --help)");
    } catch (Failure const& failure) {
        return Misuse(failure.what());
    }
}

std::optional<ServiceOptions> ParseServiceOptionsAgain(int argc, char const* const* argv) {
    CommandLine commandLine;
    commandLine.ReadFileAgain();
    try {
        ServiceOptions options = commandLine.Parse(argc, argv);
        return commandLine.HasFile() ? std::optional(std::move(options)) : std::nullopt;
    } catch (CLI::ParseError const& error) {
        throw Failure(EINVAL, commandLine.ReasonOf(error));
    }
}

} // namespace workstation::service

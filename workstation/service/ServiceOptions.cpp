// The command line of the service StreamMgr.
#include "service/ServiceOptions.h"

#include <iostream>
#include <string>

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

// A line of a file is not shown: it may hold a password.
std::string ReasonOf(CLI::ParseError const& error, CLI::Option const& file) {
    auto const code = static_cast<CLI::ExitCodes>(error.get_exit_code());
    bool const mayShowLine =
        code == CLI::ExitCodes::ConfigError || code == CLI::ExitCodes::ConversionError;
    if (file.count() > 0 && mayShowLine) {
        return "'" + file.as<std::string>() +
               "' contains something other than values of record, fast and loop";
    }
    return error.what();
}

} // namespace

std::variant<ServiceOptions, int> ParseServiceOptions(int argc, char const* const* argv) {
    CLI::App app("The stream manager: owns the recorder's pool of stream files, records into it "
                 "and serves StreamMgrCli. Works on $STREAMMGR_ROOT, in the foreground, until it "
                 "is told to quit.",
                 "StreamMgr");
    app.footer(environmentHelp);
    app.set_version_flag("--version", std::string("StreamMgr ") + version, "print the version");
    std::vector<std::string> recordings;
    bool isFast = false;
    bool loops = false;
    app.add_option("--record", recordings,
                   "record a transport stream into stream 1 to 4: from a file, in real time; as it "
                   "comes, from standard input (-), a FIFO, a device, a command "
                   "(exec:COMMAND) or UDP datagrams (udp://ADDRESS:PORT); the last four are "
                   "begun again when they end")
        ->type_name("STREAM=SOURCE");
    app.add_flag("--fast", isFast, "read all files as fast as they can be read");
    app.add_flag("--loop", loops, "read all files again and again");
    app.set_config("--config", "", "read options from a file, such as record = [\"1=-\"]")
        ->type_name("FILE");
    app.allow_config_extras(CLI::config_extras_mode::error);
    try {
        app.parse(argc, argv);
        ServiceOptions options = ParseRecordOptions(recordings);
        for (recording::RecordingSettings& settings : options) {
            settings.isFast = isFast;
            settings.loops = loops;
        }
        return options;
    } catch (CLI::ParseError const& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error); // prints the help or the version
        }
        return Misuse(ReasonOf(error, *app.get_config_ptr()) + " (see StreamMgr --help)");
    } catch (Failure const& failure) {
        return Misuse(failure.what());
    }
}

} // namespace workstation::service

// The command line of the service.
#include "service/CommandLine.h"

#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "Environment.h"

namespace workstation::service {

int RunWithCommandLine(int argc, char** argv, int (*run)(ServiceOptions const&)) {
    constexpr int misuse = 2;
    CLI::App app("The stream manager: owns the recorder's pool of stream files, records into it "
                 "and serves StreamMgrCli. Works on $STREAMMGR_ROOT, in the foreground, until it "
                 "is told to quit.",
                 "StreamMgr");
    app.footer(environmentHelp);
    std::vector<std::string> recordings;
    ServiceOptions options;
    app.add_option("--record", recordings,
                   "record a transport stream into stream 1 to 4: from a file, in real time, or "
                   "from standard input (-), as it comes")
        ->type_name("STREAM=SOURCE");
    app.add_flag("--fast", options.isFast, "read all files as fast as they can be read");
    app.add_flag("--loop", options.loops, "read all files again and again");
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error); // the help that was asked for
        }
        std::cerr << "StreamMgr: " << error.what() << " (see StreamMgr --help)" << std::endl;
        return misuse;
    }
    std::string error;
    auto parsed = recording::ParseRecordOptions(recordings, error);
    if (!parsed) {
        std::cerr << "StreamMgr: " << error << std::endl;
        return misuse;
    }
    options.recordings = std::move(*parsed);
    return run(options);
}

} // namespace workstation::service

// The command line of the service.
#include "service/CommandLine.h"

#include <CLI/CLI.hpp>

namespace workstation {

int RunWithCommandLine(int argc, char** argv, int (*run)(ServiceOptions const&)) {
    CLI::App app("The stream manager: owns the recorder's pool of stream files and serves "
                 "StreamMgrCli. Works on $STREAMMGR_ROOT, in the foreground, until it is told to "
                 "quit.",
                 "StreamMgr");
    ServiceOptions const options;
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        constexpr int misuse = 2;
        return app.exit(error) == 0 ? 0 : misuse;
    }
    return run(options);
}

} // namespace workstation

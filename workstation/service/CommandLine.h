// The command line of the service.
#pragma once

namespace workstation {

// What the command line asks for.
struct ServiceOptions {};

// Takes the command line apart and runs the service with it. The exit status: 0 when it ended as
// it was told to, 1 when it could not start, 2 for misuse.
int RunWithCommandLine(int argc, char** argv, int (*run)(ServiceOptions const&));

} // namespace workstation

// The command line of the service.
#pragma once

#include <vector>

#include "service/recording/RecordOption.h"

namespace workstation::service {

// What the command line asks for.
struct ServiceOptions {
    std::vector<recording::RecordOption> recordings;
    bool isFast = false; // files are read as fast as they can be
    bool loops = false;  // files are read again and again
};

// Takes the command line apart and runs the service with it. The exit status: 0 when it ended as
// it was told to, 1 when it could not start, 2 for misuse.
int RunWithCommandLine(int argc, char** argv, int (*run)(ServiceOptions const&));

} // namespace workstation::service

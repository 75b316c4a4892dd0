// The commands of the pool tool: each adds itself to the command line.
#pragma once

#include <stdexcept>

#include "Trouble.h"

namespace CLI {
class App;
}

namespace workstation::d2b {

void AddCheckCommand(CLI::App& tool);
void AddCreateCommand(CLI::App& tool);
void AddLoadCommand(CLI::App& tool);
void AddSetCommand(CLI::App& tool);
void AddTickCommand(CLI::App& tool);

// How a command ends that could not do its work: its text is shown, the exit status is 1.
class CommandFailure : public std::runtime_error {
public:
    explicit CommandFailure(Trouble const& why)
        : std::runtime_error(why.text) {}
};

} // namespace workstation::d2b

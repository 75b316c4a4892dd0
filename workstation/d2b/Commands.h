// The commands of the pool tool: each adds itself to the command line. A command that cannot do its
// work throws Failure.
#pragma once

namespace CLI {
class App;
}

namespace workstation::d2b {

void AddCheckCommand(CLI::App& tool);
void AddCreateCommand(CLI::App& tool);
void AddLoadCommand(CLI::App& tool);
void AddSetCommand(CLI::App& tool);
void AddTickCommand(CLI::App& tool);

// The verbs that show what is in a pool, or what the service does, and change nothing; no verb in a
// build without them.
void AddEvidenceCommands(CLI::App& tool);
void AddExportCommand(CLI::App& tool);
void AddListCommand(CLI::App& tool);
void AddPlotCommand(CLI::App& tool);
void AddReportCommand(CLI::App& tool);
void AddScanCommand(CLI::App& tool);
void AddStatusCommand(CLI::App& tool);
void AddVerifyCommand(CLI::App& tool);

} // namespace workstation::d2b

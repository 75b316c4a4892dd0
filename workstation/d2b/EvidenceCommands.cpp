// The verbs of the pool tool that only show something.
#include "d2b/Commands.h"

namespace workstation::d2b {

void AddEvidenceCommands(CLI::App& tool) {
    AddListCommand(tool);
    AddScanCommand(tool);
    AddExportCommand(tool);
    AddVerifyCommand(tool);
    AddPlotCommand(tool);
    AddReportCommand(tool);
    AddStatusCommand(tool);
}

} // namespace workstation::d2b

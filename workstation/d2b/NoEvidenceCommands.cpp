// The pool tool without its evidence verbs, for a processor without their libraries.
#include "d2b/Commands.h"

namespace workstation::d2b {

void AddEvidenceCommands(CLI::App& /*tool*/) {}

} // namespace workstation::d2b

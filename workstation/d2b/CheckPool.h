// Looks for damage in the pool and the process table of a recorder, and repairs it.
#pragma once

#include <string>
#include <vector>

namespace workstation::d2b {

enum class FindingKind {
    note,     // no damage: what a killed process left, or what a repair has saved
    repaired, // damage that is no longer there
    remains,  // damage that is still there, or the failure of a check
};

struct Finding {
    std::string text; // one line: what is found, and after a semicolon what becomes of it
    FindingKind kind;
};

// Checks the image, each entry of its table, and the process table. Throws Failure when there is no
// pool. With `repair`, every repair is durable when it returns:
//   a damaged header               rebuilt, when the size of the image gives the number of files
//   a truncated image              extended; files that lost data keep their whole packets
//   a length beyond the slot       set to the size of the slot
//   a controller without a writer  reset
//   the record of a dead process, a damaged process table   removed
// The header and the table of files are saved beside the image before it is repaired. The header
// and the size are changed only when no stream manager owns the directory. Any other failure of a
// check or of a repair is a finding that remains.
std::vector<Finding> CheckPool(bool repair);

} // namespace workstation::d2b

// Looks for damage in the pool and the process table of a recorder, and repairs it.
#pragma once

#include <string>
#include <vector>

namespace workstation::d2b {

// Damage, or the failure of a check.
struct Finding {
    std::string text; // one line: what is wrong, and after a semicolon what was done about it
    bool remains;
};

// Checks the image, each entry of its table, and the process table. With `repair`:
//   a damaged header               rebuilt, when the size of the image gives the number of files
//   a truncated image              extended; files that lost data are set to length 0
//   a length beyond the slot       set to the size of the slot
//   a controller without a writer  reset
//   the record of a dead process, a damaged process table   removed
// The header and the size are changed only when no stream manager owns the directory. A check or a
// repair that fails does not throw Failure: it is a finding that remains.
std::vector<Finding> CheckPool(bool repair);

} // namespace workstation::d2b

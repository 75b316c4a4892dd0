// Looks for damage in what a recorder's directory holds of the pool, and puts it right.
#pragma once

#include <string>
#include <vector>

namespace workstation::d2b {

struct Finding {
    std::string text; // one line: what is wrong, and after a semicolon what was done about it
    bool remains;
};

// Checks the image, each entry of its table, and the process table. With `repair`:
//   a damaged header            rebuilt, when the size of the image tells the number of files
//   a truncated image           extended; files that lost data are set to length 0
//   a length beyond the slot    clipped
//   a controller nobody holds   reset
//   the record of a dead process, a damaged process table   removed
// The header and the size are touched only when no stream manager owns the directory.
std::vector<Finding> CheckPool(bool repair);

} // namespace workstation::d2b

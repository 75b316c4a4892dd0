// Which stream files --stats and --tickinfo scan.
#pragma once

#include <optional>
#include <vector>

namespace streamfile {

// The numbers of the stream files to scan: `fileNumber` alone, or with 0 every file of the pool.
// nullopt, after a line on standard error, when the pool cannot be used.
std::optional<std::vector<int>> FilesToScan(int fileNumber);

} // namespace streamfile

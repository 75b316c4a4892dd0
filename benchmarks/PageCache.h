// What of a file lies in memory.
#pragma once

#include <string>

namespace benchmarks {

// Drops the whole file from the page cache. False, with errno, when it cannot be read or stays
// there, as on a file system that has no disk below it.
bool EvictFromPageCache(std::string const& path);

// Reads the whole file into the page cache. False, with errno, on failure.
bool ReadIntoPageCache(std::string const& path);

} // namespace benchmarks

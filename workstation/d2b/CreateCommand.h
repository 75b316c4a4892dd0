// d2b create: makes a pool.
#pragma once

#include <cstdint>

namespace workstation::d2b {

struct CreateOptions {
    std::uint32_t fileCount = 0;
    bool isExt4 = false;      // a directory instead of an image
    bool replace = false;     // an existing pool
    bool isAllocated = false; // an image has all its space from the start
};

// Makes the pool of the recorder, and the recorder's directory when it is missing; both are durable
// when it returns. A pool image has its name only when it is complete and durable. Processes that
// have a replaced image open keep it as it is. Throws Failure, also while a stream manager owns the
// directory, and instead of replacing a directory that is not empty. Then nothing is left of what
// it has made.
void CreatePool(CreateOptions const& options);

} // namespace workstation::d2b

// d2b create: makes a pool.
#pragma once

#include <cstdint>

#include "Trouble.h"

namespace workstation::d2b {

struct CreateOptions {
    std::uint32_t fileCount = 0;
    bool isExt4 = false;  // a directory instead of an image
    bool replace = false; // an existing pool
};

// Makes the pool of the recorder, and the recorder's directory when it is missing. An image that
// is replaced stays as it is for those who have it open. Refused while a stream manager owns the
// directory, and where a directory that is not empty would have to go.
bool CreatePool(CreateOptions const& options, Trouble& why);

} // namespace workstation::d2b

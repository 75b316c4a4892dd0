// Puts an ordinary file into the pool.
#pragma once

#include <string>

#include "Trouble.h"

namespace workstation::d2b {

// Writes the file at `source` over a stream file of the recorder's pool and sets the stated length
// to its size. A source that is no regular file or does not fit is refused before anything is
// changed; after a failure on the way the stated length is what it was.
bool LoadStreamFile(int fileNumber, std::string const& source, Trouble& why);

} // namespace workstation::d2b

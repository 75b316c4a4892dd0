// d2b load: puts an ordinary file into the pool.
#pragma once

#include <string>

namespace workstation::d2b {

// Writes the file at `source` over a stream file of the recorder's pool and sets the stated length
// to its size; both are durable when it returns. Throws Failure; the stated length is then what it
// was, unless only the table could not be made durable, and so are the contents when the source is
// not a regular file or does not fit into a slot.
void LoadIntoPool(int fileNumber, std::string const& source);

} // namespace workstation::d2b

// A database that is only looked at, while others may use it.
#pragma once

#include <string>

#include "store/Database.h"

namespace workstation::store {

// Opens the state that a database has now, its write-ahead log included, and changes nothing at its
// place: no file, no time, no lock. It works on a read-only file system and beside connections that
// write. What is opened is a private copy in the directory for temporary files, which has no name
// any more when this returns. Messages show `path`. An empty file is an empty database. Throws a
// Failure, also when there is no such file.
Database OpenCopy(std::string const& path);

} // namespace workstation::store

// A consistent copy of a database that is in use.
#pragma once

#include <string>

namespace workstation::store {

// Copies the database at `source` to `target`. The copy is a single file. It is the state of the
// database at one moment; other connections can read and write meanwhile. An existing file is
// replaced at once when the copy is complete. Throws a Failure; then the existing file is
// unchanged.
//
// An unfinished copy is named after the target, with ".StreamMgr-backup-" and six characters
// appended. The next backup to the same target removes those of processes that died.
//
// A target is refused when it is not a regular file, may not be written, is the source itself, or
// is in use as a database.
void BackUpDatabase(std::string const& source, std::string const& target);

} // namespace workstation::store

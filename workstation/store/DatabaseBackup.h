// A consistent copy of a database that is in use.
#pragma once

#include <string>

namespace workstation::store {

// Copies the database at `source` to `target`, over an existing file; the copy is one file that
// needs nothing beside it. `target` is the old file or the whole new one at any moment, and the old
// one when this fails, with a DatabaseError. Other connections go on reading and writing; the copy
// is the state of one moment. Until it is complete it is called like the target with
// ".StreamMgr-backup-" and six characters behind; such copies of processes that died are removed by
// the next one to the same target.
//
// Refused: what is no regular file, may not be written, is the source itself, or is in use as a
// database.
void BackUpDatabase(std::string const& source, std::string const& target);

} // namespace workstation::store

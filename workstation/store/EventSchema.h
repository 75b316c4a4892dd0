// The tables of the event database (docs/event-database.md).
#pragma once

#include <cstdint>
#include <optional>

namespace workstation::store {

class Database;

// Creates the tables in an empty database, brings those of an older version up, and sets the
// connection up for the event store. Throws a Failure, and leaves the database unchanged, when it
// is damaged, was made by another program or has a version that is not known.
void PrepareEventDatabase(Database& database);

// The version of a database that is only read: 1 or 2, which has the table `recording`. Null for an
// empty one. Throws a Failure when it is damaged, was made by another program or has another
// version.
std::optional<std::int64_t> ReadableVersion(Database const& database);

} // namespace workstation::store

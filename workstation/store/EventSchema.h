// The tables of the event database (docs/event-database.md).
#pragma once

namespace workstation::store {

class Database;

// Creates the tables in an empty database, brings those of an older version up, and sets the
// connection up for the event store. Throws a Failure, and leaves the database unchanged, when it
// is damaged, was made by another program or has a version that is not known.
void PrepareEventDatabase(Database& database);

} // namespace workstation::store

// The tables of the event database (docs/event-database.md).
#pragma once

namespace workstation::store {

class Database;

// Creates the tables in an empty database, and sets the connection up for the event store. Throws a
// Failure, and leaves the database unchanged, when it is damaged, was made by another program or
// has another version.
void PrepareEventDatabase(Database& database);

} // namespace workstation::store

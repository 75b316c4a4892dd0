// The tables of the event database (docs/event-database.md).
#pragma once

namespace workstation::store {

class Database;

// Makes the tables in an empty database; refuses, untouched, one that is damaged, was made by
// another program or has another version. Sets the connection up for the event store.
void PrepareEventDatabase(Database& database);

} // namespace workstation::store

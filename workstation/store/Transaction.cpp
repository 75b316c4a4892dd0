// Changes to a database that happen together or not at all.
#include "store/Transaction.h"

#include <sqlite3.h>

#include "store/Database.h"

namespace workstation::store {

Transaction::Transaction(Database& database)
    : database_(database) {
    database_.Execute("BEGIN IMMEDIATE");
}

// SQLite itself rolls back on some errors (a full disk). A rollback that fails leaves the rest to
// the next connection: nothing was committed.
Transaction::~Transaction() {
    if (database_.IsInTransaction()) {
        sqlite3_exec(database_.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::Commit() {
    database_.Execute("COMMIT");
}

} // namespace workstation::store

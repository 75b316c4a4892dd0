// A database transaction.
#include "store/Transaction.h"

#include <sqlite3.h>

#include "store/Database.h"

namespace workstation::store {

Transaction::Transaction(Database& database)
    : database_(database) {
    database_.Execute("BEGIN IMMEDIATE");
}

// On some errors, such as a full disk, SQLite has already rolled back. After a rollback that fails,
// the next connection rolls back: nothing was committed.
Transaction::~Transaction() {
    if (database_.IsInTransaction()) {
        sqlite3_exec(database_.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::Commit() {
    database_.Execute("COMMIT");
}

} // namespace workstation::store

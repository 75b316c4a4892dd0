// The event database of a recorder, looked at from outside.
#include "EventDatabase.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

#include "support/DatabaseInvariants.h"

namespace e2e {
namespace {

struct Close {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
};

int AppendRow(void* rows, int columns, char** values, char**) {
    auto& text = *static_cast<std::string*>(rows);
    for (int column = 0; column < columns; ++column) {
        text.append(column == 0 ? "" : "|").append(values[column] != nullptr ? values[column] : "");
    }
    text += '\n';
    return 0;
}

} // namespace

std::string Rows(std::filesystem::path const& database, std::string const& query) {
    sqlite3* handle = nullptr;
    int const opened = sqlite3_open_v2(database.c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr);
    std::unique_ptr<sqlite3, Close> const connection(handle);
    sqlite3_busy_timeout(handle, 5000);
    std::string rows;
    if (opened != SQLITE_OK ||
        sqlite3_exec(handle, query.c_str(), AppendRow, &rows, nullptr) != SQLITE_OK) {
        throw std::runtime_error(database.string() + ": " + sqlite3_errmsg(handle));
    }
    return rows;
}

std::string Everything(std::filesystem::path const& database) {
    std::string rows;
    for (char const* const table : {"file", "event", "event_file", "tick_counter"}) {
        rows += Rows(database, std::string("SELECT '") + table + "', * FROM " + table);
    }
    return rows;
}

std::string Faults(std::filesystem::path const& database) {
    std::string faults;
    for (DatabaseInvariant const& invariant : databaseInvariants) {
        std::string const rows = Rows(database, invariant.query);
        faults += rows.empty() ? "" : invariant.fault + ("\n" + rows);
    }
    // Holds for what the service records, whose ticks are numbered by the database.
    return faults +
           Rows(database, "SELECT 'ticks used twice', a.id, b.id FROM file a JOIN file b"
                          " ON a.stream = b.stream AND a.id < b.id"
                          " AND b.first_tick <= a.last_tick") +
           Rows(database, "SELECT 'ticks not reserved', file.id FROM file JOIN tick_counter"
                          " ON tick_counter.stream = file.stream AND last_tick >= next");
}

} // namespace e2e

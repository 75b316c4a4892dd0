// A prepared statement with bound parameters.
#include "store/Statement.h"

#include <sqlite3.h>

namespace workstation::store {

sqlite3_stmt* Statement::Prepare(Database const& database, std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database.Handle(), sql.data(), static_cast<int>(sql.size()), &statement,
                           nullptr) != SQLITE_OK) {
        database.Fail(std::string(sql));
    }
    return statement;
}

void Statement::Bind(int parameter, std::int64_t value) {
    if (sqlite3_bind_int64(statement_.get(), parameter, value) != SQLITE_OK) {
        Fail();
    }
}

void Statement::Bind(int parameter, std::string const& text) {
    if (sqlite3_bind_text64(statement_.get(), parameter, text.data(), text.size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8) != SQLITE_OK) {
        Fail();
    }
}

bool Statement::Step() {
    int const code = sqlite3_step(statement_.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        Fail();
    }
    return code == SQLITE_ROW;
}

std::int64_t Statement::Number64(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

std::optional<std::int64_t> Statement::OptionalNumber(int column) const {
    if (sqlite3_column_type(statement_.get(), column) == SQLITE_NULL) {
        return std::nullopt;
    }
    return Number64(column);
}

std::string Statement::Text(int column) const {
    auto const* const text = sqlite3_column_text(statement_.get(), column);
    auto const size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
    return text == nullptr ? std::string() : std::string(text, text + size);
}

void Statement::Fail() const {
    database_.Fail(sqlite3_sql(statement_.get()));
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

} // namespace workstation::store

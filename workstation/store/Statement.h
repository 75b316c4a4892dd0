// A prepared statement with bound parameters.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "store/Database.h"

struct sqlite3_stmt;

namespace workstation::store {

// Values reach the database as parameters only, never as part of the SQL: they may contain any
// bytes, also quotes and zeros. The first value is ?1.
class Statement {
public:
    template <class... Values>
    Statement(Database const& database, std::string_view sql, Values const&... values)
        : database_(database)
        , statement_(Prepare(database, sql)) {
        int parameter = 0;
        (Bind(++parameter, values), ...);
    }

    // True when there is a row to read, false at the end. Throws a Failure, as the constructor
    // does.
    bool Step();

    // A column of the row, counted from 0; NULL reads as 0 or as an empty text.
    template <class Integer = std::int64_t>
    Integer Number(int column) const {
        return static_cast<Integer>(Number64(column));
    }
    std::optional<std::int64_t> OptionalNumber(int column) const; // null for NULL
    std::string Text(int column) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    static sqlite3_stmt* Prepare(Database const& database, std::string_view sql);
    void Bind(int parameter, std::int64_t value);
    void Bind(int parameter, std::string const& text);
    std::int64_t Number64(int column) const;
    [[noreturn]] void Fail() const;

    Database const& database_;
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// For QueryAll and QueryFirst: the first column.
inline std::int64_t ReadFirstNumber(Statement const& row) {
    return row.Number(0);
}

// Runs a statement to its end.
template <class... Values>
void Execute(Database const& database, std::string_view sql, Values const&... values) {
    Statement statement(database, sql, values...);
    while (statement.Step()) {
    }
}

// Returns what `read` returns for each row. The statement has ended on return.
template <class Read, class... Values>
auto QueryAll(Database const& database, Read read, std::string_view sql, Values const&... values) {
    std::vector<std::invoke_result_t<Read, Statement const&>> rows;
    Statement statement(database, sql, values...);
    while (statement.Step()) {
        rows.push_back(read(std::as_const(statement)));
    }
    return rows;
}

// Returns what `read` returns for the first row; null when there is no row.
template <class Read, class... Values>
auto QueryFirst(Database const& database, Read read, std::string_view sql,
                Values const&... values) {
    auto rows = QueryAll(database, read, sql, values...);
    return rows.empty() ? std::nullopt : std::make_optional(std::move(rows.front()));
}

} // namespace workstation::store

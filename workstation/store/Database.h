// A connection to an SQLite database.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

struct sqlite3;

namespace workstation::store {

// What the database could not do and why, with the path of its file: one line for the log.
class DatabaseError : public std::runtime_error {
public:
    using runtime_error::runtime_error;
};

// How long an operation waits for a lock that another connection holds.
constexpr int databaseBusyTimeoutMs = 2000;

// The one owner of a connection. Belongs to one thread at a time, and to the process that opened
// it: never used across fork(2). Every failure is a DatabaseError.
class Database {
public:
    enum class Mode { existing, create };

    // Opens the file for reading and writing. `create` makes a missing one; an empty file is an
    // empty database in either mode. The content is not looked at.
    Database(std::string path, Mode mode);

    std::string const& Path() const { return path_; }

    // Runs statements that have no parameters and whose rows are of no interest.
    void Execute(char const* script);

    // The rows that the last INSERT, UPDATE or DELETE touched.
    int Changes() const;
    std::int64_t LastRowId() const;
    bool IsInTransaction() const;

    // For the wrappers of SQLite only.
    sqlite3* Handle() const { return handle_.get(); }

    // Throws the connection's last error. `doing` is the SQL that failed, or says it in words.
    [[noreturn]] void Fail(std::string const& doing) const;

private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };

    std::string path_;
    std::unique_ptr<sqlite3, Close> handle_;
};

} // namespace workstation::store

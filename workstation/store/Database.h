// A connection to an SQLite database.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

struct sqlite3;

namespace workstation::store {

// How long an operation waits for a lock that another connection holds, in milliseconds.
constexpr int databaseBusyTimeoutMs = 2000;

// Owns a connection. Used by one thread at a time, and only by the process that opened it: never
// after fork(2). Every operation throws a Failure, whose text begins "database '<path>': ".
class Database {
public:
    enum class Mode { existing, create };

    // Opens the file for reading and writing. `create` makes a missing one. An empty file is an
    // empty database in both modes. The content is not checked.
    Database(std::string const& path, Mode mode)
        : Database(path, mode, path) {}

    // The same for a file that messages show as `shownPath`.
    Database(std::string const& path, Mode mode, std::string shownPath);

    // As messages show it.
    std::string const& Path() const { return path_; }

    // Runs statements that have no parameters, and ignores their rows.
    void Execute(char const* script);

    // The number of rows that the last INSERT, UPDATE or DELETE changed.
    int Changes() const;
    std::int64_t LastRowId() const;
    bool IsInTransaction() const;

    // From now on waits for locks of other connections end after so many milliseconds, those that
    // are under way too. May be called by another thread.
    void WaitAtMost(int timeoutMs) { *busyTimeoutMs_ = timeoutMs; }

    // For the wrappers of SQLite only.
    sqlite3* Handle() const { return handle_.get(); }

    // Throws the last error of the connection. `doing` is the SQL that failed, or names the
    // operation.
    [[noreturn]] void Fail(std::string const& doing) const;

private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };

    std::string path_;
    std::unique_ptr<std::atomic<int>> busyTimeoutMs_ =
        std::make_unique<std::atomic<int>>(databaseBusyTimeoutMs);
    std::unique_ptr<sqlite3, Close> handle_;
};

} // namespace workstation::store

// A connection to an SQLite database.
#include "store/Database.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "Failure.h"

namespace workstation::store {
namespace {

// SQLite treats "file:..." as a URI and ":memory:" as no file at all. A path that begins with a
// directory is always a path.
std::string AsPlainPath(std::string const& path) {
    return path.starts_with('/') ? path : "./" + path;
}

int OpenFlags(Database::Mode mode) {
    int const flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    return mode == Database::Mode::create ? flags | SQLITE_OPEN_CREATE : flags;
}

// Called again and again while a lock is held, with the number of calls before. False ends the
// wait. Short locks are waited for in short steps.
int WaitForLock(void* timeoutMs, int calls) {
    constexpr int shortSteps = 10;
    constexpr int stepMs = 10;
    bool const isShort = calls < shortSteps;
    int const waitedMs = isShort ? calls : shortSteps + (calls - shortSteps) * stepMs;
    if (waitedMs >= *static_cast<std::atomic<int> const*>(timeoutMs)) {
        return 0;
    }
    sqlite3_sleep(isShort ? 1 : stepMs);
    return 1;
}

bool IsSystemError(int code) {
    int const primary = code & 0xFF;
    return primary == SQLITE_CANTOPEN || primary == SQLITE_IOERR;
}

} // namespace

Database::Database(std::string const& path, Mode mode, std::string shownPath)
    : path_(std::move(shownPath)) {
    sqlite3* handle = nullptr;
    int const code = sqlite3_open_v2(AsPlainPath(path).c_str(), &handle, OpenFlags(mode), nullptr);
    handle_.reset(handle);
    if (!handle_) {
        throw std::bad_alloc();
    }
    if (code != SQLITE_OK) {
        Fail("opening it");
    }
    // SQLite opens a file that it may not write read-only, without an error.
    if (sqlite3_db_readonly(handle, "main") != 0) {
        throw Failure(EROFS, "database '" + path_ + "': not writable");
    }
    sqlite3_busy_handler(handle, WaitForLock, busyTimeoutMs_.get());
}

void Database::Execute(char const* script) {
    if (sqlite3_exec(handle_.get(), script, nullptr, nullptr, nullptr) != SQLITE_OK) {
        Fail(script);
    }
}

int Database::Changes() const {
    return sqlite3_changes(handle_.get());
}

std::int64_t Database::LastRowId() const {
    return sqlite3_last_insert_rowid(handle_.get());
}

bool Database::IsInTransaction() const {
    return sqlite3_get_autocommit(handle_.get()) == 0;
}

void Database::Fail(std::string const& doing) const {
    std::string text = "database '" + path_ + "': " + sqlite3_errmsg(handle_.get());
    int const systemError = sqlite3_system_errno(handle_.get());
    bool const hasSystemError = IsSystemError(sqlite3_errcode(handle_.get())) && systemError != 0;
    if (hasSystemError) {
        text += std::string(" (") + std::strerror(systemError) + ")";
    }
    throw Failure(hasSystemError ? systemError : EIO, text + " [" + doing + "]");
}

void Database::Close::operator()(sqlite3* handle) const {
    sqlite3_close(handle);
}

} // namespace workstation::store

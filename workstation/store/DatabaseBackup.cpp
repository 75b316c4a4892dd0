// A consistent copy of a database that is in use.
#include "store/DatabaseBackup.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

#include "FileDescriptor.h"
#include "store/Database.h"

namespace workstation::store {
namespace {

[[noreturn]] void Refuse(std::string const& target, std::string const& reason) {
    // What stands behind a zero in the path would take the reason with it.
    throw DatabaseError("backup '" + target.substr(0, target.find('\0')) + "': " + reason);
}

[[noreturn]] void RefuseWithErrno(std::string const& target) {
    Refuse(target, std::strerror(errno));
}

std::optional<struct stat> StatusOf(std::string const& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return status;
}

bool IsSameFile(struct stat const& a, struct stat const& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

void CheckExisting(struct stat const& target, std::string const& path, std::string const& source) {
    if (!S_ISREG(target.st_mode)) {
        Refuse(path, "not a regular file");
    }
    for (char const* const suffix : {"", "-wal", "-shm"}) {
        auto const own = StatusOf(source + suffix);
        if (own && IsSameFile(*own, target)) {
            Refuse(path, "belongs to the database itself");
        }
    }
    if (access(path.c_str(), W_OK) != 0) {
        RefuseWithErrno(path);
    }
}

// A journal that is left beside the copy would be taken for the copy's own and played into it.
void CheckJournals(std::string const& path) {
    for (char const* const suffix : {"-wal", "-journal"}) {
        if (StatusOf(path + suffix)) {
            Refuse(path, "in use as a database, '" + path + suffix + "' exists");
        }
    }
}

void CheckTarget(std::string const& path, std::string const& source) {
    if (path.empty() || path.find('\0') != std::string::npos) {
        Refuse(path, "not a path");
    }
    if (auto const status = StatusOf(path)) {
        CheckExisting(*status, path, source);
    }
    CheckJournals(path);
}

// What a copy is called until it is complete: nobody else gives a file such a name.
std::string const copySuffix = ".StreamMgr-backup-";
constexpr std::size_t randomSize = 6;

// The copy itself goes last: while it is there, what a kill leaves of the others is found by it.
void RemoveCopy(std::string const& path) {
    for (char const* const suffix : {"-wal", "-shm", "-journal", ""}) {
        unlink((path + suffix).c_str());
    }
}

// A copy that is being made is locked; one that is not was left by a process that died.
bool IsAbandoned(std::string const& path) {
    FileDescriptor const file(open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file && flock(file.Get(), LOCK_EX | LOCK_NB) == 0;
}

void RemoveAbandonedCopies(std::filesystem::path const& target) {
    std::string const prefix = target.filename().string() + copySuffix;
    std::error_code ignored;
    std::vector<std::string> copies;
    for (auto entry = std::filesystem::directory_iterator(target.parent_path(), ignored);
         entry != std::filesystem::directory_iterator(); entry.increment(ignored)) {
        std::string const name = entry->path().filename();
        if (name.starts_with(prefix) && name.size() == prefix.size() + randomSize) {
            copies.push_back(entry->path());
        }
    }
    for (std::string const& copy : copies) {
        if (IsAbandoned(copy)) {
            RemoveCopy(copy);
        }
    }
}

// An empty file next to the target, removed with what SQLite put beside it unless it has taken the
// target's place.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string const& target)
        : target_(target)
        , path_(target + copySuffix + std::string(randomSize, 'X'))
        , file_(mkostemp(path_.data(), O_CLOEXEC)) {
        if (!file_) {
            RefuseWithErrno(target);
        }
        flock(file_.Get(), LOCK_EX | LOCK_NB);
    }

    ~TemporaryFile() { RemoveCopy(path_); }

    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    std::string const& Path() const { return path_; }

    void TakePlaceOfTarget() {
        if (rename(path_.c_str(), target_.c_str()) != 0) {
            RefuseWithErrno(target_);
        }
    }

private:
    std::string target_;
    std::string path_;
    FileDescriptor file_; // closed last: closing it would drop SQLite's own locks
};

struct FinishBackup {
    void operator()(sqlite3_backup* backup) const { sqlite3_backup_finish(backup); }
};

// In one step: a read transaction in the write-ahead log keeps no writer waiting, while a copy in
// portions would begin anew with every change.
void CopyPages(Database const& from, Database const& to) {
    std::unique_ptr<sqlite3_backup, FinishBackup> backup(
        sqlite3_backup_init(to.Handle(), "main", from.Handle(), "main"));
    bool const isCopied = backup && sqlite3_backup_step(backup.get(), -1) == SQLITE_DONE;
    backup.reset(); // hands its error over to the connection
    if (!isCopied) {
        to.Fail("copying '" + from.Path() + "'");
    }
}

void Copy(std::string const& source, std::string const& target) {
    Database const from(source, Database::Mode::existing);
    Database to(target, Database::Mode::existing);
    to.Execute("PRAGMA journal_mode = OFF");
    CopyPages(from, to);
    to.Execute("PRAGMA journal_mode = DELETE"); // the mark for a write-ahead log came with the copy
}

} // namespace

void BackUpDatabase(std::string const& source, std::string const& target) {
    CheckTarget(target, source);
    RemoveAbandonedCopies(target);
    TemporaryFile copy(target);
    Copy(source, copy.Path());
    copy.TakePlaceOfTarget();
}

} // namespace workstation::store

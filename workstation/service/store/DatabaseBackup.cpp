// A consistent copy of a database that is in use.
#include "service/store/DatabaseBackup.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include "FileDescriptor.h"
#include "service/store/Database.h"

namespace workstation {
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

// An empty file next to the target, removed with what SQLite put beside it unless it has taken the
// target's place.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string const& target)
        : target_(target)
        , path_(target + ".XXXXXX") {
        // Closed at once: closing it later would drop SQLite's locks on it.
        if (!FileDescriptor(mkstemp(path_.data()))) {
            RefuseWithErrno(target);
        }
    }

    ~TemporaryFile() {
        for (char const* const suffix : {"", "-wal", "-shm", "-journal"}) {
            unlink((path_ + suffix).c_str());
        }
    }

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
    TemporaryFile copy(target);
    Copy(source, copy.Path());
    copy.TakePlaceOfTarget();
}

} // namespace workstation

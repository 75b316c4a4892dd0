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

#include "Failure.h"
#include "FileDescriptor.h"
#include "NewFile.h"
#include "store/Database.h"

namespace workstation::store {
namespace {

[[noreturn]] void Refuse(std::string const& target, int error, std::string const& reason) {
    // A zero in the path would end the text of the Failure.
    throw Failure(error, "backup '" + target.substr(0, target.find('\0')) + "': " + reason);
}

[[noreturn]] void RefuseWithErrno(std::string const& target) {
    int const error = errno;
    Refuse(target, error, std::strerror(error));
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
        Refuse(path, EINVAL, "not a regular file");
    }
    for (char const* const suffix : {"", "-wal", "-shm"}) {
        auto const own = StatusOf(source + suffix);
        if (own && IsSameFile(*own, target)) {
            Refuse(path, EINVAL, "belongs to the database itself");
        }
    }
    if (access(path.c_str(), W_OK) != 0) {
        RefuseWithErrno(path);
    }
}

// SQLite would treat a journal beside the copy as the copy's own, and apply it.
void CheckJournals(std::string const& path) {
    for (char const* const suffix : {"-wal", "-journal"}) {
        if (StatusOf(path + suffix)) {
            Refuse(path, EBUSY, "in use as a database, '" + path + suffix + "' exists");
        }
    }
}

void CheckTarget(std::string const& path, std::string const& source) {
    if (path.empty() || path.find('\0') != std::string::npos) {
        Refuse(path, EINVAL, "not a path");
    }
    if (auto const status = StatusOf(path)) {
        CheckExisting(*status, path, source);
    }
    CheckJournals(path);
}

// In the name of an unfinished copy. No other program uses such names.
std::string const copySuffix = ".StreamMgr-backup-";
constexpr std::size_t randomSize = 6;

// The copy itself is removed last: after a kill in between, the next backup still finds it.
void RemoveCopy(std::string const& path) {
    for (char const* const suffix : {"-wal", "-shm", "-journal", ""}) {
        unlink((path + suffix).c_str());
    }
}

// A copy that is being made is locked. A process that died left one that is not.
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

// An empty file beside the target. The destructor removes it, with its journals, unless it has
// replaced the target.
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

    // Durably: the copy is whole when its name is, and its name when this returns.
    void ReplaceTarget() {
        if (fsync(file_.Get()) != 0 || rename(path_.c_str(), target_.c_str()) != 0) {
            RefuseWithErrno(target_);
        }
        SyncDirectory(std::filesystem::path(target_).parent_path());
    }

private:
    std::string target_;
    std::string path_;
    FileDescriptor file_; // closing it would release SQLite's locks on the file
};

struct FinishBackup {
    void operator()(sqlite3_backup* backup) const { sqlite3_backup_finish(backup); }
};

// In one step: a read transaction in the write-ahead log keeps no writer waiting, while a copy in
// several steps would start again with every change.
void CopyPages(Database const& from, Database const& to) {
    std::unique_ptr<sqlite3_backup, FinishBackup> backup(
        sqlite3_backup_init(to.Handle(), "main", from.Handle(), "main"));
    bool const isCopied = backup && sqlite3_backup_step(backup.get(), -1) == SQLITE_DONE;
    backup.reset(); // sets the error of the connection
    if (!isCopied) {
        to.Fail("copying '" + from.Path() + "'");
    }
}

void Copy(std::string const& source, std::string const& target) {
    Database const from(source, Database::Mode::existing);
    Database to(target, Database::Mode::existing);
    to.Execute("PRAGMA journal_mode = OFF");
    CopyPages(from, to);
    to.Execute("PRAGMA journal_mode = DELETE"); // the copy says that it has a write-ahead log
}

} // namespace

void BackUpDatabase(std::string const& source, std::string const& target) {
    CheckTarget(target, source);
    RemoveAbandonedCopies(target);
    TemporaryFile copy(target);
    Copy(source, copy.Path());
    copy.ReplaceTarget();
}

} // namespace workstation::store

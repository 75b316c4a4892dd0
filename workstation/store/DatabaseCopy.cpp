// A database that is only looked at, while others may use it.
#include "store/DatabaseCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

#include "Deadline.h"
#include "Failure.h"
#include "FileDescriptor.h"
#include "NewFile.h"

namespace workstation::store {
namespace {

constexpr std::size_t walHeaderSize = 32;
constexpr std::size_t copyBlockSize = 65536;

// The first bytes of a database, the zero included.
constexpr std::string_view magic{"SQLite format 3\0", 16};

[[noreturn]] void Refuse(std::string const& path, int error, std::string const& reason) {
    throw Failure(error, "database '" + path + "': " + reason);
}

// A directory that the destructor removes with the copy. An open copy stays readable.
class CopyDirectory {
public:
    CopyDirectory() {
        std::error_code error;
        path_ = std::filesystem::temp_directory_path(error) / "d2b-XXXXXX";
        if (error) {
            throw Failure(error.value(), "no directory for temporary files: " + error.message());
        }
        if (mkdtemp(path_.data()) == nullptr) {
            throw SystemFailure("cannot make the directory '" + path_ + "'");
        }
    }
    ~CopyDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    CopyDirectory(CopyDirectory const&) = delete;
    CopyDirectory& operator=(CopyDirectory const&) = delete;

    std::string Database() const { return path_ + "/database"; }

private:
    std::string path_;
};

// Empty when there is no such file.
FileDescriptor OpenIfThere(std::string const& path) {
    FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file && errno != ENOENT) {
        throw SystemFailure("cannot open '" + path + "'");
    }
    return file;
}

std::size_t Read(FileDescriptor const& file, std::string const& path, std::span<unsigned char> to) {
    ssize_t got = 0;
    do {
        got = read(file.Get(), to.data(), to.size());
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        throw SystemFailure("cannot read '" + path + "'");
    }
    return static_cast<std::size_t>(got);
}

// The first bytes of a file, fewer when it is shorter; empty when it is not there.
std::string FirstBytes(std::string const& path, std::size_t count) {
    FileDescriptor const file = OpenIfThere(path);
    if (!file) {
        return "";
    }
    std::vector<unsigned char> bytes(count);
    std::size_t const got = Read(file, path, bytes);
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(got)};
}

// A missing file gives no copy.
void CopyFile(std::string const& from, std::string const& to) {
    FileDescriptor const file = OpenIfThere(from);
    if (!file) {
        unlink(to.c_str()); // of the former attempt
        return;
    }
    NewFile copy(to);
    std::vector<unsigned char> block(copyBlockSize);
    for (std::size_t got = Read(file, from, block); got > 0; got = Read(file, from, block)) {
        copy.Write(block.data(), got);
    }
    copy.Complete();
}

// Copies the database, then its log. As long as the log is not begun again meanwhile, it contains
// every page that was changed in the database while that was copied, and the two together are the
// state at the end. False when it was begun again: the copy is of no use.
bool CopyBoth(std::string const& path, std::string const& copy) {
    std::string const log = FirstBytes(path + "-wal", walHeaderSize);
    CopyFile(path, copy);
    CopyFile(path + "-wal", copy + "-wal");
    return FirstBytes(path + "-wal", walHeaderSize) == log;
}

// The file of a database, where its log lies too.
std::string FileOf(std::string const& path) {
    std::error_code error;
    std::string file = std::filesystem::canonical(path, error);
    if (error) {
        Refuse(path, error.value(), error.message());
    }
    std::string const first = FirstBytes(file, magic.size());
    if (!first.empty() && first != magic) {
        Refuse(path, EINVAL, "not a database");
    }
    if (!FirstBytes(file + "-journal", 1).empty()) {
        Refuse(path, EBUSY, "an unfinished change is beside it, in '" + file + "-journal'");
    }
    return file;
}

} // namespace

Database OpenCopy(std::string const& path) {
    std::string const file = FileOf(path);
    CopyDirectory const directory;
    std::string const copy = directory.Database();
    // The service begins its log again once for a thousand pages that it has written.
    Deadline const patience(databaseBusyTimeoutMs);
    while (!CopyBoth(file, copy)) {
        if (patience.Passed()) {
            Refuse(path, EBUSY, "is written faster than it can be copied");
        }
    }
    Database database(copy, Database::Mode::existing, path);
    // Opens the log too, whose index stays in memory.
    database.Execute("PRAGMA locking_mode = EXCLUSIVE; SELECT count(*) FROM sqlite_schema");
    return database;
}

} // namespace workstation::store

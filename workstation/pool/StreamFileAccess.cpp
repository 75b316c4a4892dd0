// Access to the pool of stream files on a workstation.
#include "StreamFileAccess.h"

#include <sys/stat.h>

#include <cerrno>

#include "Root.h"
#include "SeamCall.h"
#include "log/PlatformLog.h"
#include "pool/SeamSession.h"
#include "pool/StreamFile.h"

namespace workstation::pool {
namespace {

// A union does not destroy its member.
union Undestroyed {
    PoolSession session;
    constexpr Undestroyed()
        : session() {}
    ~Undestroyed() {}
};

constinit Undestroyed undestroyed;

// A process that ends by exit() leaves no record, not even when another thread is registering it.
struct EndOfProcess {
    ~EndOfProcess() { SeamSession().End(); }
} const endOfProcess;

} // namespace

PoolSession& SeamSession() {
    return undestroyed.session;
}

} // namespace workstation::pool

namespace {

using workstation::AtSeam;
using workstation::Failure;
using workstation::log::LogError;
using workstation::pool::EntryWord;
using workstation::pool::PoolImage;
using workstation::pool::PoolName;
using workstation::pool::SeamSession;
using workstation::pool::StreamFile;

int FileSystemTypeOfPool() {
    constexpr int unknown = 0;
    constexpr int ext4 = 1;
    constexpr int d2b = 2;
    struct stat status {};
    if (stat(workstation::PoolPath().c_str(), &status) != 0) {
        return unknown;
    }
    if (S_ISREG(status.st_mode)) {
        return d2b;
    }
    return S_ISDIR(status.st_mode) ? ext4 : unknown;
}

} // namespace

class StreamFileAccess::OpenFile {
public:
    // What `open` returns; null when it throws a Failure.
    template <typename Open>
    static std::unique_ptr<OpenFile> Make(Open open) {
        return AtSeam(
            std::unique_ptr<OpenFile>(),
            [&] { return std::unique_ptr<OpenFile>(new OpenFile(open())); },
            [](Failure const& failure) {
                if (failure.Error() == EUCLEAN) {
                    LogError(failure.what()); // errno alone does not say what is damaged
                }
            });
    }

    // The stream file of an access that has one. Throws Failure for the others.
    static StreamFile& StreamOf(std::unique_ptr<OpenFile> const& file) {
        if (file == nullptr) {
            throw Failure(EBADF, "no stream file is open");
        }
        return *file->stream_;
    }

private:
    explicit OpenFile(std::unique_ptr<StreamFile> stream)
        : stream_(std::move(stream)) {}

    std::unique_ptr<StreamFile> stream_;
};

int StreamFileAccess::fileSystemType = FileSystemTypeOfPool();

StreamFileAccess::StreamFileAccess() = default;

StreamFileAccess::StreamFileAccess(int fileNumber, int /*mode*/)
    : file_(OpenFile::Make([&] { return StreamFile::OpenForReading(SeamSession(), fileNumber); })) {
}

StreamFileAccess::StreamFileAccess(int fileNumber, bool /*append*/,
                                   StreamMgrFileMgmnt::Control_t controller)
    : file_(OpenFile::Make(
          [&] { return StreamFile::OpenForWriting(SeamSession(), fileNumber, controller); })) {}

StreamFileAccess::~StreamFileAccess() = default;

bool StreamFileAccess::InitializeFileAccess(bool atomicRead, bool registerProcess) {
    return AtSeam(
        false,
        [&] {
            if (atomicRead) {
                throw Failure(ENOTSUP, PoolName(workstation::PoolPath()) +
                                           ": atomic reading is not offered on a workstation");
            }
            SeamSession().Load(registerProcess);
            return true;
        },
        [](Failure const& failure) { LogError(failure.what()); });
}

void StreamFileAccess::Unload() {
    SeamSession().Unload();
}

long StreamFileAccess::GetFilePoolSize() {
    PoolImage const* const pool = SeamSession().PoolIfLoaded();
    return pool == nullptr ? 0 : pool->FileCount();
}

bool StreamFileAccess::GetFileInfo(int fileNumber, StreamMgrFileMgmnt::FileMgmnt_t& info) {
    PoolImage const* const pool = SeamSession().PoolIfLoaded();
    if (pool == nullptr || !pool->Has(fileNumber)) {
        errno = ENOENT;
        return false;
    }
    info.writeController =
        static_cast<StreamMgrFileMgmnt::Control_t>(pool->Get(fileNumber, EntryWord::controller));
    info.streamDbMatch = pool->Get(fileNumber, EntryWord::dbMatch) != 0;
    info.numProcAtomicRead = static_cast<int>(pool->Get(fileNumber, EntryWord::atomicReaders));
    info.fileSize = pool->Get(fileNumber, EntryWord::length);
    return true;
}

bool StreamFileAccess::IsOpen() {
    return file_ != nullptr;
}

long StreamFileAccess::DataLength() {
    return AtSeam(-1L, [&] { return static_cast<long>(OpenFile::StreamOf(file_).Length()); });
}

int StreamFileAccess::Read(void* buffer, unsigned int count, bool unbounded) {
    return AtSeam(-1, [&] {
        return static_cast<int>(OpenFile::StreamOf(file_).Read(buffer, count, unbounded));
    });
}

int StreamFileAccess::Write(void* buffer, unsigned int count) {
    return AtSeam(-1,
                  [&] { return static_cast<int>(OpenFile::StreamOf(file_).Write(buffer, count)); });
}

long StreamFileAccess::Seek(long offset) {
    return AtSeam(-1L, [&] {
        OpenFile::StreamOf(file_).Seek(offset);
        return offset;
    });
}

long StreamFileAccess::Truncate(long length) {
    return AtSeam(-1L, [&] {
        OpenFile::StreamOf(file_).SetLengthDurably(length);
        return 0L;
    });
}

// Access to the pool of stream files on a workstation.
#include "StreamFileAccess.h"

#include <sys/stat.h>

#include <cerrno>

#include "Root.h"
#include "log/PlatformLog.h"
#include "pool/PoolSession.h"
#include "pool/StreamFile.h"

namespace {

using workstation::Trouble;
using workstation::log::LogNotification;
using workstation::pool::EntryWord;
using workstation::pool::PoolSession;
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

// Sets errno when there is none.
template <typename File>
bool HasFile(std::unique_ptr<File> const& file) {
    if (file == nullptr) {
        errno = EBADF;
    }
    return file != nullptr;
}

} // namespace

class StreamFileAccess::OpenFile {
public:
    // Null for a stream file that could not be opened.
    static std::unique_ptr<OpenFile> Make(std::unique_ptr<StreamFile> stream, Trouble const& why) {
        if (stream) {
            return std::unique_ptr<OpenFile>(new OpenFile(std::move(stream)));
        }
        if (why.error == EUCLEAN) {
            LogNotification(why.text); // errno alone does not tell what is damaged
        }
        errno = why.error;
        return nullptr;
    }

    StreamFile& Stream() { return *stream_; }

private:
    explicit OpenFile(std::unique_ptr<StreamFile> stream)
        : stream_(std::move(stream)) {}

    std::unique_ptr<StreamFile> stream_;
};

int StreamFileAccess::fileSystemType = FileSystemTypeOfPool();

StreamFileAccess::StreamFileAccess() = default;

StreamFileAccess::StreamFileAccess(int fileNumber, int /*mode*/) {
    Trouble why;
    auto stream = StreamFile::OpenForReading(fileNumber, why);
    file_ = OpenFile::Make(std::move(stream), why);
}

StreamFileAccess::StreamFileAccess(int fileNumber, bool /*append*/,
                                   StreamMgrFileMgmnt::Control_t controller) {
    Trouble why;
    auto stream =
        StreamFile::OpenForWriting(fileNumber, static_cast<std::uint32_t>(controller), why);
    file_ = OpenFile::Make(std::move(stream), why);
}

StreamFileAccess::~StreamFileAccess() = default;

bool StreamFileAccess::InitializeFileAccess(bool atomicRead, bool registerProcess) {
    if (atomicRead) {
        LogNotification("pool '" + workstation::PoolPath() +
                        "': atomic reading is not offered on a workstation");
        errno = ENOTSUP;
        return false;
    }
    Trouble why;
    if (!PoolSession::Instance().Load(registerProcess, why)) {
        LogNotification(why.text);
        errno = why.error;
        return false;
    }
    return true;
}

void StreamFileAccess::Unload() {
    PoolSession::Instance().Unload();
}

long StreamFileAccess::GetFilePoolSize() {
    auto const* const pool = PoolSession::Instance().Pool();
    return pool == nullptr ? 0 : pool->FileCount();
}

bool StreamFileAccess::GetFileInfo(int fileNumber, StreamMgrFileMgmnt::FileMgmnt_t& info) {
    auto const* const pool = PoolSession::Instance().Pool();
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
    return HasFile(file_) ? file_->Stream().Length() : -1;
}

int StreamFileAccess::Read(void* buffer, unsigned int count, bool unbounded) {
    return HasFile(file_) ? file_->Stream().Read(buffer, count, unbounded) : -1;
}

int StreamFileAccess::Write(void* buffer, unsigned int count) {
    return HasFile(file_) ? file_->Stream().Write(buffer, count) : -1;
}

long StreamFileAccess::Seek(long offset) {
    return HasFile(file_) ? file_->Stream().Seek(offset) : -1;
}

long StreamFileAccess::Truncate(long length) {
    return HasFile(file_) ? file_->Stream().SetLength(length) : -1;
}

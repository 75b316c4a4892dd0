// The pool of stream files, scripted.
#include "StreamFileAccess.h"

#include <algorithm>
#include <cerrno>

#include "FakePlatform.h"
#include "Show.h"

// A stream file of FakePool. What is done with one that is not open is a breach.
class StreamFileAccess::OpenFile {
public:
    OpenFile(int fileNumber, bool forWriting)
        : number(fileNumber)
        , writing(forWriting) {
        Count(1);
    }
    ~OpenFile() {
        FakePlatform::Get().Note(Prefix() + "close()");
        Count(-1);
    }

    OpenFile(OpenFile const&) = delete;
    OpenFile& operator=(OpenFile const&) = delete;

    // The open file of an object, for an operation that needs one.
    static OpenFile& Of(std::unique_ptr<OpenFile> const& file, bool forWriting);

    std::string Prefix() const { return "file" + Show(number) + "."; }
    FakePool::File& Entry() const { return FakePlatform::Get().pool.files.at(number); }

    int const number;
    bool const writing;
    long position = 0;

private:
    static void Count(int change) {
        FakePlatform& platform = FakePlatform::Get();
        std::scoped_lock const lock(platform.mutex);
        platform.pool.openFiles += change;
    }
};

StreamFileAccess::OpenFile& StreamFileAccess::OpenFile::Of(std::unique_ptr<OpenFile> const& file,
                                                           bool forWriting) {
    if (file == nullptr) {
        FakePlatform::Get().Breach("an operation on a stream file that is not open");
        std::abort();
    }
    if (file->writing != forWriting) {
        FakePlatform::Get().Breach("a stream file is used the other way than it was opened");
    }
    return *file;
}

namespace {

// Records the opening; whether it succeeds.
bool Open(int fileNumber, std::string const& arguments) {
    FakePlatform& platform = FakePlatform::Get();
    std::scoped_lock const lock(platform.mutex);
    if (!platform.pool.initialized) {
        platform.Breach("a stream file is opened before the pool was initialised");
    }
    if (platform.Enter("", "OpenStreamFile", arguments)) {
        return false;
    }
    if (platform.pool.files.count(fileNumber) != 0) {
        return true;
    }
    errno = ENOENT;
    return false;
}

void ExpectInitialized() {
    FakePlatform& platform = FakePlatform::Get();
    if (!platform.pool.initialized) {
        platform.Breach("the pool is asked before it was initialised");
    }
}

} // namespace

int StreamFileAccess::fileSystemType = 0;

// The global object lives longer than any test; it comes and goes unrecorded.
StreamFileAccess::StreamFileAccess() = default;

StreamFileAccess::StreamFileAccess(int fileNumber, int mode) {
    if (Open(fileNumber, ShowAll(fileNumber, mode))) {
        file_ = std::make_unique<OpenFile>(fileNumber, false);
    }
}

StreamFileAccess::StreamFileAccess(int fileNumber, bool append,
                                   StreamMgrFileMgmnt::Control_t controller) {
    if (Open(fileNumber, ShowAll(fileNumber, append, static_cast<int>(controller)))) {
        file_ = std::make_unique<OpenFile>(fileNumber, true);
    }
}

StreamFileAccess::~StreamFileAccess() = default;

bool StreamFileAccess::InitializeFileAccess(bool atomicRead, bool registerProcess) {
    FakePlatform& platform = FakePlatform::Get();
    std::scoped_lock const lock(platform.mutex);
    bool const reached =
        platform.Ask("pool.", "InitializeFileAccess", ShowAll(atomicRead, registerProcess), 1) != 0;
    platform.pool.initialized = platform.pool.initialized || reached;
    return reached;
}

void StreamFileAccess::Unload() {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("pool.Unload()");
    if (platform.pool.unloaded) {
        platform.Breach("the pool is unloaded a second time");
    }
    platform.pool.unloaded = true;
    platform.pool.initialized = false;
}

long StreamFileAccess::GetFilePoolSize() {
    ExpectInitialized();
    FakePlatform& platform = FakePlatform::Get();
    return platform.Ask("pool.", "GetFilePoolSize", "", platform.pool.size);
}

bool StreamFileAccess::GetFileInfo(int fileNumber, StreamMgrFileMgmnt::FileMgmnt_t& info) {
    ExpectInitialized();
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("pool.GetFileInfo(" + Show(fileNumber) + ")");
    auto const entry = platform.pool.table.find(fileNumber);
    if (entry == platform.pool.table.end()) {
        return false;
    }
    info = entry->second;
    return true;
}

// Leaves errno as the constructor set it.
bool StreamFileAccess::IsOpen() {
    return file_ != nullptr;
}

long StreamFileAccess::DataLength() {
    OpenFile const& file = OpenFile::Of(file_, false);
    return FakePlatform::Get().Ask(file.Prefix(), "DataLength", "", file.Entry().statedLength);
}

int StreamFileAccess::Read(void* buffer, unsigned int count, bool unbounded) {
    OpenFile& file = OpenFile::Of(file_, false);
    long const end = unbounded ? FakePool::slotSize : file.Entry().statedLength;
    long const usual = std::clamp(end - file.position, 0L, static_cast<long>(count));
    long const got =
        FakePlatform::Get().Ask(file.Prefix(), "Read", ShowAll(count, unbounded), usual);
    if (got > 0) {
        FillWithContent(static_cast<unsigned char*>(buffer), file.number, file.position, got);
        file.position += got;
    }
    return static_cast<int>(got);
}

int StreamFileAccess::Write(void* buffer, unsigned int count) {
    OpenFile& file = OpenFile::Of(file_, true);
    long const written = FakePlatform::Get().Ask(file.Prefix(), "Write", Show(count), count);
    if (written > 0) {
        file.Entry().written.append(static_cast<char const*>(buffer),
                                    static_cast<std::size_t>(written));
    }
    return static_cast<int>(written);
}

long StreamFileAccess::Seek(long offset) {
    OpenFile& file = OpenFile::Of(file_, false);
    long const reached = FakePlatform::Get().Ask(file.Prefix(), "Seek", Show(offset), offset);
    if (reached != -1) {
        file.position = offset;
    }
    return reached;
}

long StreamFileAccess::Truncate(long length) {
    OpenFile& file = OpenFile::Of(file_, true);
    file.Entry().statedLength = length;
    return FakePlatform::Get().Ask(file.Prefix(), "Truncate", Show(length), 0);
}

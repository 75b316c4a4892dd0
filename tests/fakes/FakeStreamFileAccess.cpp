// The pool of stream files, scripted.
#include "StreamFileAccess.h"

#include <algorithm>
#include <cerrno>

#include "FakePlatform.h"
#include "Show.h"

// A stream file of FakePool. An operation on one that is not open is a breach.
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
        if (writing) {
            FakePlatform::Get().pool.filesBeingWritten.erase(number);
            ShowController(StreamMgrFileMgmnt::ControlUnknown);
        }
    }

    OpenFile(OpenFile const&) = delete;
    OpenFile& operator=(OpenFile const&) = delete;

    // The open file of an object, for an operation that needs one.
    static OpenFile& Of(std::unique_ptr<OpenFile> const& file, bool forWriting);

    std::string Prefix() const { return "file" + Show(number) + "."; }
    FakePool::File& Entry() const { return FakePlatform::Get().pool.files.at(number); }

    // The row of the file in the table of files; null when the test did not set one.
    StreamMgrFileMgmnt::FileMgmnt_t* Row() const {
        auto& table = FakePlatform::Get().pool.table;
        auto const found = table.find(number);
        return found == table.end() ? nullptr : &found->second;
    }
    void ShowController(StreamMgrFileMgmnt::Control_t controller) const {
        if (auto* const row = Row()) {
            row->writeController = controller;
        }
    }

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

// Records the opening. Whether it succeeds, else errno says why.
bool Open(int fileNumber, bool forWriting, std::string const& arguments) {
    FakePlatform& platform = FakePlatform::Get();
    std::scoped_lock const lock(platform.mutex);
    FakePool& pool = platform.pool;
    if (!pool.initialized) {
        platform.Breach("a stream file is opened before the pool was initialised");
    }
    if (platform.Enter("", "OpenStreamFile", arguments)) {
        return false;
    }
    if (!pool.files.contains(fileNumber)) {
        errno = ENOENT;
        return false;
    }
    if (forWriting && !pool.filesBeingWritten.insert(fileNumber).second) {
        errno = EBUSY;
        return false;
    }
    return true;
}

// Whether a position or a length lies within the slot. A negative one is a breach.
bool IsWithinSlot(long bytes) {
    if (bytes < 0) {
        FakePlatform::Get().Breach("a negative position or length in a stream file");
    }
    return bytes >= 0 && bytes <= FakePool::slotSize;
}

void ExpectInitialized() {
    FakePlatform& platform = FakePlatform::Get();
    if (!platform.pool.initialized) {
        platform.Breach("the pool is used before it was initialised");
    }
}

} // namespace

int StreamFileAccess::fileSystemType = 0;

// The global object lives longer than any test; it comes and goes unrecorded.
StreamFileAccess::StreamFileAccess() = default;

StreamFileAccess::StreamFileAccess(int fileNumber, int mode) {
    if (mode != 0) {
        FakePlatform::Get().Breach("a stream file is opened for reading in another mode than 0");
    }
    if (Open(fileNumber, false, ShowAll(fileNumber, mode))) {
        file_ = std::make_unique<OpenFile>(fileNumber, false);
    }
}

StreamFileAccess::StreamFileAccess(int fileNumber, bool append,
                                   StreamMgrFileMgmnt::Control_t controller) {
    if (append) {
        FakePlatform::Get().Breach("a stream file is opened for appending");
    }
    if (Open(fileNumber, true, ShowAll(fileNumber, append, static_cast<int>(controller)))) {
        file_ = std::make_unique<OpenFile>(fileNumber, true);
        file_->ShowController(controller);
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
    if (platform.Enter("pool.", "GetFileInfo", Show(fileNumber))) {
        return false;
    }
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
        auto* const out = static_cast<unsigned char*>(buffer);
        FillWithContent(out, file.number, file.position, got);
        std::string const& written = file.Entry().written;
        if (auto const size = static_cast<long>(written.size()); file.position < size) {
            std::copy_n(written.begin() + file.position, std::min(got, size - file.position), out);
        }
        file.position += got;
    }
    return static_cast<int>(got);
}

int StreamFileAccess::Write(void* buffer, unsigned int count) {
    OpenFile& file = OpenFile::Of(file_, true);
    long const room = std::min(FakePool::slotSize - file.position, static_cast<long>(count));
    long const written = FakePlatform::Get().Ask(file.Prefix(), "Write", Show(count), room);
    if (written > 0) {
        auto const size = static_cast<std::size_t>(written);
        file.Entry().written.replace(static_cast<std::size_t>(file.position), size,
                                     static_cast<char const*>(buffer), size);
        file.position += written;
    }
    return static_cast<int>(written);
}

long StreamFileAccess::Seek(long offset) {
    OpenFile& file = OpenFile::Of(file_, false);
    bool const possible = IsWithinSlot(offset);
    long const reached =
        FakePlatform::Get().Ask(file.Prefix(), "Seek", Show(offset), possible ? offset : -1);
    if (reached != -1) {
        file.position = offset;
    }
    return reached;
}

long StreamFileAccess::Truncate(long length) {
    OpenFile& file = OpenFile::Of(file_, true);
    bool const possible = IsWithinSlot(length);
    long const result =
        FakePlatform::Get().Ask(file.Prefix(), "Truncate", Show(length), possible ? 0 : -1);
    if (result == 0) {
        file.Entry().statedLength = length;
        if (auto* const row = file.Row()) {
            row->fileSize = static_cast<unsigned int>(length);
        }
    }
    return result;
}

// Loaded before the C library: input and output of some files fail with EIO, or take long, on
// command.
//
// STREAMMGR_FAULTY_FILES is the beginning of the paths of these files. STREAMMGR_FAULTS is a file
// of one byte, which says what fails at the moment: the sum of 1 for reading, 2 for writing, 4 for
// flushing, 8 for a flush that takes a tenth of a second, and 16 for one that hangs until the byte
// changes. With STREAMMGR_FAULTY_BYTES=FROM-TO only these bytes of the files cannot be read,
// the last one not included.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>

namespace {

constexpr unsigned char reading = 1;
constexpr unsigned char writing = 2;
constexpr unsigned char flushing = 4;
constexpr unsigned char slowFlush = 8;
constexpr unsigned char hangingFlush = 16;

unsigned char const* MapFaults() {
    char const* const path = std::getenv("STREAMMGR_FAULTS");
    int const file = path != nullptr ? open(path, O_RDONLY | O_CLOEXEC) : -1;
    void* const byte = file >= 0 ? mmap(nullptr, 1, PROT_READ, MAP_SHARED, file, 0) : MAP_FAILED;
    if (file >= 0) {
        close(file);
    }
    return byte != MAP_FAILED ? static_cast<unsigned char const*>(byte) : nullptr;
}

bool Has(unsigned char fault) {
    static unsigned char const* const faults = MapFaults();
    return faults != nullptr && (*static_cast<unsigned char const volatile*>(faults) & fault) != 0;
}

bool IsFaulty(int file) {
    static std::string const files = [] {
        char const* const text = std::getenv("STREAMMGR_FAULTY_FILES");
        return std::string(text != nullptr ? text : "");
    }();
    std::array<char, 4096> path{};
    std::string const link = "/proc/self/fd/" + std::to_string(file);
    ssize_t const size = readlink(link.c_str(), path.data(), path.size());
    return size > 0 && !files.empty() &&
           std::string_view(path.data(), static_cast<std::size_t>(size)).starts_with(files);
}

struct Range {
    off64_t from;
    off64_t to;
};

Range FaultyBytes() {
    char const* const text = std::getenv("STREAMMGR_FAULTY_BYTES");
    if (text == nullptr) {
        return {0, std::numeric_limits<off64_t>::max()};
    }
    char* dash = nullptr;
    off64_t const from = std::strtoll(text, &dash, 10);
    return {from, std::strtoll(dash + 1, nullptr, 10)};
}

bool Fails(unsigned char fault, int file) {
    if (!Has(fault) || !IsFaulty(file)) {
        return false;
    }
    errno = EIO;
    return true;
}

// Before a flush.
void TakeTime() {
    constexpr useconds_t slowUs = 100000;
    constexpr useconds_t stepUs = 5000;
    if (Has(slowFlush)) {
        usleep(slowUs);
    }
    while (Has(hangingFlush)) {
        usleep(stepUs);
    }
}

void TakeTime(int file) {
    if ((Has(slowFlush) || Has(hangingFlush)) && IsFaulty(file)) {
        TakeTime();
    }
}

// Reads what is before the faulty bytes, as a disk does.
template <typename Read>
ssize_t ReadSound(Read* original, int file, void* bytes, size_t size, off64_t offset) {
    static Range const faulty = FaultyBytes();
    bool const isAfter = offset >= faulty.to;
    bool const isBefore = offset + static_cast<off64_t>(size) <= faulty.from;
    if (isAfter || isBefore || !Has(reading) || !IsFaulty(file)) {
        return original(file, bytes, size, offset);
    }
    if (offset < faulty.from) {
        return original(file, bytes, static_cast<size_t>(faulty.from - offset), offset);
    }
    errno = EIO;
    return -1;
}

// The function of this name in the C library.
template <typename Function>
Function* Original(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

ssize_t pread(int file, void* bytes, size_t size, off_t offset) {
    static auto* const original = Original<decltype(pread)>("pread");
    return ReadSound(original, file, bytes, size, offset);
}

ssize_t pread64(int file, void* bytes, size_t size, off64_t offset) {
    static auto* const original = Original<decltype(pread64)>("pread64");
    return ReadSound(original, file, bytes, size, offset);
}

ssize_t pwrite(int file, void const* bytes, size_t size, off_t offset) {
    static auto* const original = Original<decltype(pwrite)>("pwrite");
    return Fails(writing, file) ? -1 : original(file, bytes, size, offset);
}

ssize_t pwrite64(int file, void const* bytes, size_t size, off64_t offset) {
    static auto* const original = Original<decltype(pwrite64)>("pwrite64");
    return Fails(writing, file) ? -1 : original(file, bytes, size, offset);
}

int fsync(int file) {
    static auto* const original = Original<decltype(fsync)>("fsync");
    TakeTime(file);
    return Fails(flushing, file) ? -1 : original(file);
}

int fdatasync(int file) {
    static auto* const original = Original<decltype(fdatasync)>("fdatasync");
    TakeTime(file);
    return Fails(flushing, file) ? -1 : original(file);
}

// The path of a mapping is not known: the pool's table is the only one that is flushed.
int msync(void* memory, size_t size, int flags) {
    static auto* const original = Original<decltype(msync)>("msync");
    TakeTime();
    if (Has(flushing)) {
        errno = EIO;
        return -1;
    }
    return original(memory, size, flags);
}

} // extern "C"

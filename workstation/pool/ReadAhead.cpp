// Announces to the kernel what will be read next, where its own read-ahead is too short.
#include "pool/ReadAhead.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "FileDescriptor.h"

namespace workstation::pool {
namespace {

constexpr std::uint64_t kibibyte = 1024;
constexpr std::uint64_t mebibyte = 1024 * kibibyte;

// Measured: a shorter window or longer steps leave the disk idle, a longer window gains nothing.
constexpr std::uint64_t windowSize = 4 * mebibyte;
constexpr std::uint64_t stepSize = 512 * kibibyte;

constexpr std::uint64_t longReadAhead = mebibyte;
constexpr std::uint64_t defaultReadAhead = 128 * kibibyte;

// The number in a file of one line; 0 when the file is missing.
std::uint64_t NumberIn(std::string const& path) {
    FileDescriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char text[32] = {};
    return file && read(file.Get(), text, sizeof(text) - 1) > 0 ? std::strtoul(text, nullptr, 10)
                                                                : 0;
}

} // namespace

std::uint64_t KernelReadAhead(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return defaultReadAhead;
    }
    std::string const device = "/sys/dev/block/" + std::to_string(major(status.st_dev)) + ":" +
                               std::to_string(minor(status.st_dev));
    // A partition has the queue of its disk.
    for (char const* const queue : {"/queue/", "/../queue/"}) {
        if (std::uint64_t const sizeKiB = NumberIn(device + queue + "read_ahead_kb")) {
            return sizeKiB * kibibyte;
        }
    }
    return defaultReadAhead;
}

ReadAhead::ReadAhead(std::uint64_t kernelReadAhead)
    : isNeeded_(kernelReadAhead < longReadAhead) {}

void ReadAhead::BeforeRead(int descriptor, std::uint64_t offset, std::uint64_t size,
                           std::uint64_t end) {
    if (!isNeeded_) {
        return;
    }
    bool const readsOn = offset == expected_;
    expected_ = offset + size;
    if (!readsOn) {
        // The first read, or the first after a seek. The kernel's own read-ahead is turned off: it
        // would go beyond the end, and disturb the order of the announced reads.
        posix_fadvise(descriptor, 0, 0, POSIX_FADV_RANDOM);
        announced_ = offset;
    }
    std::uint64_t const wanted = std::min(end, expected_ + (readsOn ? windowSize : 0));
    while (announced_ + stepSize <= wanted || (wanted == end && announced_ < end)) {
        std::uint64_t const step = std::min(stepSize, wanted - announced_);
        posix_fadvise(descriptor, static_cast<off_t>(announced_), static_cast<off_t>(step),
                      POSIX_FADV_WILLNEED);
        announced_ += step;
    }
}

} // namespace workstation::pool

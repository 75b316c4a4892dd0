// Announces what will be read next to the kernel.
#include "pool/ReadAhead.h"

#include <fcntl.h>

#include <algorithm>

namespace workstation {
namespace {

// Found by measurement: a shorter window or longer steps let the disk run idle, more gains nothing.
constexpr std::uint64_t windowSize = 4 * 1024 * 1024;
constexpr std::uint64_t stepSize = 512 * 1024;

} // namespace

void ReadAhead::BeforeRead(int descriptor, std::uint64_t offset, std::uint64_t size,
                           std::uint64_t end) {
    bool const readsOn = offset == expected_;
    expected_ = offset + size;
    if (!readsOn) {
        // The first read here. The kernel's read-ahead is turned off: it would run past the end.
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

} // namespace workstation

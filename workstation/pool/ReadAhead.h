// Announces what will be read next to the kernel, where it would not look far enough by itself.
#pragma once

#include <cstdint>

namespace workstation::pool {

// How many bytes the kernel reads ahead by itself on the device that the file lies on. What cannot
// be told is taken for the kernel's default.
std::uint64_t KernelReadAhead(int descriptor);

// A stream file is read from end to end, and on most devices the kernel reads 128 KiB ahead: too
// little to keep a fast disk busy while the reader works on what it got. So what comes next is
// announced a few MiB ahead, and never beyond the end that the reader states. Where the device is
// set up for a long read-ahead, nothing is announced: the kernel's own takes less processor time.
class ReadAhead {
public:
    explicit ReadAhead(std::uint64_t kernelReadAhead);

    // To be called before `size` bytes are read at byte `offset` of the file; what will be read
    // in all ends at byte `end`.
    void BeforeRead(int descriptor, std::uint64_t offset, std::uint64_t size, std::uint64_t end);

private:
    bool isNeeded_;
    std::uint64_t expected_ = UINT64_MAX; // where a reader that reads on reads next
    std::uint64_t announced_ = 0;         // everything from expected_ to here has been announced
};

} // namespace workstation::pool

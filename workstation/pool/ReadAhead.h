// Announces to the kernel what will be read next, where its own read-ahead is too short.
#pragma once

#include <cstdint>

namespace workstation::pool {

// How many bytes the kernel reads ahead on the device of the file. The kernel's default, 128 KiB,
// when that cannot be found out.
std::uint64_t KernelReadAhead(int descriptor);

// A stream file is read from start to end, and on most devices the kernel reads 128 KiB ahead: too
// little to keep a fast disk busy while the reader works on what it has read. So the next MiB are
// announced, but never beyond the end that the reader states. Where the device has a read-ahead of
// 1 MiB or more, nothing is announced: the kernel's own takes less processor time.
class ReadAhead {
public:
    explicit ReadAhead(std::uint64_t kernelReadAhead);

    // To be called before `size` bytes are read at byte `offset` of the file. The last read will
    // end at byte `end`.
    void BeforeRead(int descriptor, std::uint64_t offset, std::uint64_t size, std::uint64_t end);

private:
    bool isNeeded_;
    std::uint64_t expected_ = UINT64_MAX; // the offset of the next read, when it continues the last
    std::uint64_t announced_ = 0;         // the bytes before this offset have been announced
};

} // namespace workstation::pool

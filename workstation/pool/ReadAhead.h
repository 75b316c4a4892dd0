// Announces what will be read next to the kernel.
#pragma once

#include <cstdint>

namespace workstation {

// The kernel's own read-ahead waits for a reader to come near its end before it goes on, in steps
// that leave the disk idle in between. A stream file is read from end to end, so what comes next
// can be said early: a few MiB ahead, in steps small enough to keep the disk's queue filled.
// Nothing beyond the end that the reader states is ever announced, so reading a stream file does
// not fetch the one behind it. Where the data is in memory already, an announcement costs a
// thousandth of the time of reading it.
class ReadAhead {
public:
    // To be called before `size` bytes are read at byte `offset` of the file; what will be read
    // in all ends at byte `end`.
    void BeforeRead(int descriptor, std::uint64_t offset, std::uint64_t size, std::uint64_t end);

private:
    std::uint64_t expected_ = 0;  // where a reader that reads on reads next
    std::uint64_t announced_ = 0; // everything from expected_ to here has been announced
};

} // namespace workstation

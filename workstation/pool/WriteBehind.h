// Makes the kernel write to the disk early what is written in one go.
#pragma once

#include <cstdint>

namespace workstation::pool {

// The kernel collects what is written and writes it to the disk when it is flushed, while the
// writer waits. So each 4 MiB that were written one after the other are sent to the disk at once;
// the disk works while the writer goes on. It makes nothing durable: a flush still has to follow.
class WriteBehind {
public:
    // To be called after `size` bytes were written at byte `offset` of the file.
    void AfterWrite(int descriptor, std::uint64_t offset, std::uint64_t size);

private:
    std::uint64_t begin_ = 0; // of what was written in one go and not sent yet
    std::uint64_t end_ = 0;
};

} // namespace workstation::pool

// The bytes of a slot, as far as they can be read.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "evidence/ByteSource.h"

namespace workstation::evidence {

// Reads a slot of a pool image. Only reads: the descriptor is open for reading.
class SlotReader : public ByteSource {
public:
    // The slot begins at byte `begin` of the file and states `length` bytes. The descriptor must
    // outlive the reader.
    SlotReader(int descriptor, std::uint64_t begin, std::uint64_t length)
        : descriptor_(descriptor)
        , begin_(begin)
        , length_(length) {}
    SlotReader(SlotReader const&) = delete;
    SlotReader& operator=(SlotReader const&) = delete;

    std::uint64_t Length() const override { return length_; }

    // What cannot be read is known to the page.
    void Read(std::uint64_t offset, std::span<unsigned char> bytes,
              std::vector<Range>& unreadable) override;

    // Where the image has data at byte `offset` of the slot or later: beyond the stated length when
    // it has a hole until there, which reads as zeros. It is `offset` where this is not known.
    std::uint64_t NextData(std::uint64_t offset) const;

protected:
    // One pread(2). Replaced by tests, for disks that fail.
    virtual long ReadOnce(unsigned char* bytes, std::uint64_t count, std::uint64_t fileOffset);

private:
    // Returns the bytes that were read before an error or the end of the file.
    std::uint64_t ReadWhile(std::uint64_t offset, std::span<unsigned char> bytes);

    int descriptor_;
    std::uint64_t begin_;
    std::uint64_t length_;
};

} // namespace workstation::evidence

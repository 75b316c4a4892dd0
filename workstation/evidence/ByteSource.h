// Bytes that are looked at, of which some may be unreadable.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace workstation::evidence {

// A range of bytes, such as those of a slot.
struct Range {
    std::uint64_t offset;
    std::uint64_t bytes;

    std::uint64_t End() const { return offset + bytes; }
    bool operator==(Range const&) const = default;
};

// A slot, or pieces of several of them in a row.
class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual std::uint64_t Length() const = 0;

    // Fills `bytes` from byte `offset`. What cannot be read is filled with zeros and appended to
    // `unreadable`. The range lies within the length.
    virtual void Read(std::uint64_t offset, std::span<unsigned char> bytes,
                      std::vector<Range>& unreadable) = 0;
};

} // namespace workstation::evidence

// The bytes between packets, sorted into faults.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "evidence/ByteSource.h"
#include "evidence/Fault.h"

namespace workstation::evidence {

// Takes the bytes of one loss from its start to its end, in pieces that follow each other, and says
// what it consists of: what could not be read, runs of zeros, and other bytes. The parts of a
// packet on either side of what could not be read are not reported: they are part of that loss.
class LostBytes {
public:
    // The bytes at `offset`; `unreadable` are ranges of the slot in ascending order.
    void Add(std::uint64_t offset, std::span<unsigned char const> bytes,
             std::span<Range const> unreadable);

    bool IsEmpty() const { return parts_.empty(); }

    // The faults of the loss, without times. The next loss begins.
    std::vector<Fault> Take();

private:
    struct Part {
        FaultKind kind; // sync, zeros or unreadable
        Range range;
    };

    void Append(FaultKind kind, std::uint64_t offset, std::uint64_t bytes);
    void EndRunOfZeros();
    void AddReadable(std::uint64_t offset, std::span<unsigned char const> bytes);
    bool IsCutPacket(std::size_t part) const;

    std::vector<Part> parts_;
};

} // namespace workstation::evidence

// The slots that an export reads, and whether they are still what they were.
#pragma once

#include <array>
#include <cstdint>
#include <map>

#include "evidence/PoolView.h"
#include "evidence/SlotReader.h"
#include "ts/TsPacket.h"

namespace workstation::evidence::exporting {

// A slot up to the length that it stated when it was opened; what is recorded later is not read.
//
// A recorder states the length 0 before it writes over a slot, writes from its first byte on, and
// uses no tick twice. So a slot holds what it held as long as its length has not decreased and its
// first packet is the same.
class OpenedSlot : public SlotReader {
public:
    OpenedSlot(PoolView const& pool, int number);

    int Number() const { return number_; }

    // Throws Failure (ESTALE) when the slot was recorded over, or shortened, after it was opened.
    void CheckUnchanged();

private:
    using Packet = std::array<unsigned char, ts::tsPacketSize>;

    Packet FirstPacket();

    PoolView const& pool_;
    int number_;
    Packet firstPacket_;
};

// The slots of a pool, each opened when it is first asked for.
class PoolSlots {
public:
    explicit PoolSlots(PoolView const& pool)
        : pool_(pool) {}

    PoolView const& Pool() const { return pool_; }

    // Throws Failure (ENOENT) for a number that the pool does not have.
    OpenedSlot& At(int number);

private:
    PoolView const& pool_;
    std::map<int, OpenedSlot> slots_;
};

} // namespace workstation::evidence::exporting

// The slots that an export reads, and whether they are still what they were.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "evidence/PoolView.h"
#include "evidence/SlotReader.h"
#include "ts/TsPacket.h"

namespace workstation::evidence::exporting {

// A slot up to the length that it stated when it was opened; what is recorded later is not read.
//
// A recorder states the length 0 before it writes over a slot, writes from its first byte on, and
// uses no tick twice. So a slot holds what it held as long as its length has not decreased and its
// first packet is the same.
//
// The copy needs again what the search for its begin has read. So what is read in small parts is
// kept in memory and not read twice.
class OpenedSlot : public SlotReader {
public:
    // `keepable`: how many more bytes all slots of an export may keep.
    OpenedSlot(PoolView const& pool, int number, std::uint64_t& keepable);

    int Number() const { return number_; }

    // Throws Failure (ESTALE) when the slot was recorded over, or shortened, after it was opened.
    void CheckUnchanged();

    void Read(std::uint64_t offset, std::span<unsigned char> bytes,
              std::vector<Range>& unreadable) override;

private:
    using Packet = std::array<unsigned char, ts::tsPacketSize>;

    Packet FirstPacket();
    std::span<unsigned char const> Kept(std::uint64_t offset) const;
    void ReadAndKeep(std::uint64_t offset, std::span<unsigned char> bytes,
                     std::vector<Range>& unreadable);

    PoolView const& pool_;
    int number_;
    std::uint64_t& keepable_;
    std::map<std::uint64_t, std::vector<unsigned char>> kept_; // by offset, without overlap
    Packet firstPacket_;
};

// The slots of a pool, each opened when it is first asked for.
class PoolSlots {
public:
    explicit PoolSlots(PoolView const& pool)
        : pool_(pool) {}
    PoolSlots(PoolSlots const&) = delete;
    PoolSlots& operator=(PoolSlots const&) = delete;

    PoolView const& Pool() const { return pool_; }

    // Throws Failure (ENOENT) for a number that the pool does not have.
    OpenedSlot& At(int number);

private:
    PoolView const& pool_;
    std::uint64_t keepable_ = 3U << 20U; // two seconds of 10 Mbit/s and more
    std::map<int, OpenedSlot> slots_;
};

} // namespace workstation::evidence::exporting

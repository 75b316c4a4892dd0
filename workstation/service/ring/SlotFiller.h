// Fills the slots of the pool with a recording, to the packet.
#pragma once

#include <cstddef>
#include <optional>

#include "pool/PoolLayout.h"
#include "service/recording/StopEvent.h"
#include "service/recording/TickedPackets.h"

namespace workstation::service::ring {

struct TickRange {
    recording::TickStamp first;
    recording::TickStamp last;

    bool operator==(TickRange const&) const = default;
};

struct SlotContents {
    std::size_t size = 0;           // in bytes, whole packets
    std::optional<TickRange> ticks; // none when no tick lies in the slot

    bool operator==(SlotContents const&) const = default;
};

// What is done with slots. Each call may throw.
class SlotSink {
public:
    virtual ~SlotSink() = default;

    // Makes an empty slot ready. False when `stop` was set before there was one.
    virtual bool OpenSlot(recording::StopEvent const& stop) = 0;

    // Appends whole packets to the slot that is open. `contents` is what it holds with them.
    virtual void WriteSlot(std::span<unsigned char const> packets,
                           SlotContents const& contents) = 0;

    // The slot that is open is full, or the recording ends.
    virtual void CloseSlot(SlotContents const& contents) = 0;
};

// Opens a slot when there is something to write, cuts at its end, and closes it when it is full.
class SlotFiller {
public:
    // A slot holds a whole number of packets.
    explicit SlotFiller(SlotSink& sink, std::size_t slotSize = pool::poolSlotSize)
        : sink_(sink)
        , slotSize_(slotSize) {}

    // Writes everything, or as much as there is room for before `stop` is set.
    void Write(recording::TickedPackets packets, recording::StopEvent const& stop);

    // Closes the slot that is open, if any.
    void Finish();

private:
    void Append(std::span<unsigned char const> bytes, std::span<recording::PlacedTick const> ticks);

    SlotSink& sink_;
    std::size_t slotSize_;
    std::optional<SlotContents> slot_; // the one that is open
};

} // namespace workstation::service::ring

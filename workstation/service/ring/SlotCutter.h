// Cuts a recording at the ends of slots.
#pragma once

#include <cstddef>
#include <optional>

#include "pool/PoolLayout.h"
#include "service/recording/TickedPackets.h"

namespace workstation::service::ring {

struct TickRange {
    recording::TickStamp first;
    recording::TickStamp last;

    bool operator==(TickRange const&) const = default;
};

struct SlotContents {
    std::size_t size = 0;           // in bytes, whole packets
    std::optional<TickRange> ticks; // null when the slot has no tick

    bool operator==(SlotContents const&) const = default;
};

// Writes the slots. Each function may throw.
class SlotSink {
public:
    virtual ~SlotSink() = default;

    // Opens an empty slot. False when the recording is to stop before there is one.
    virtual bool OpenSlot() = 0;

    // Appends whole packets to the open slot. `contents` is what the slot then has.
    virtual void WriteSlot(std::span<unsigned char const> packets,
                           SlotContents const& contents) = 0;

    // Closes the open slot: it is full, or the recording ends.
    virtual void CloseSlot(SlotContents const& contents) = 0;
};

// Opens a slot when there are packets for it, and closes it when it is full.
class SlotCutter {
public:
    // `slotSize` is a whole number of packets, in bytes. `sink` outlives the object.
    explicit SlotCutter(SlotSink& sink, std::size_t slotSize = pool::poolSlotSize)
        : sink_(sink)
        , slotSize_(slotSize) {}

    // Writes the packets, except those for which there is no slot when the recording is to stop.
    void Write(recording::TickedPackets packets);

    // Closes the open slot, if there is one.
    void Finish();

private:
    void Append(std::span<unsigned char const> bytes, std::span<recording::PlacedTick const> ticks);

    SlotSink& sink_;
    std::size_t slotSize_;
    std::optional<SlotContents> slot_; // the open one
};

} // namespace workstation::service::ring

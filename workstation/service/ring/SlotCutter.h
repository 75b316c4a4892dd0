// Cuts a recording at the ends of slots.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "service/recording/TickedPackets.h"
#include "service/ring/SlotContents.h"

namespace workstation::service::ring {

// Writes the slots. Each function may throw.
class SlotSink {
public:
    virtual ~SlotSink() = default;

    // Opens an empty slot. False when the recording is to stop before there is one.
    virtual bool OpenSlot() = 0;

    // How many bytes the open slot still takes: whole packets.
    virtual std::size_t Room() const = 0;

    // Appends whole packets, for which there is room, to the open slot. `ticks` are those among
    // them; null when there are none.
    virtual void WriteSlot(std::span<unsigned char const> packets,
                           std::optional<TickRange> const& ticks) = 0;

    // Closes the open slot: it is full, or the recording ends.
    virtual void CloseSlot() = 0;
};

// Opens a slot when there are packets for it, and closes it when it is full.
class SlotCutter {
public:
    // `sink` outlives the object.
    explicit SlotCutter(SlotSink& sink)
        : sink_(sink) {}

    // Writes the packets, except those for which there is no slot when the recording is to stop.
    void Write(recording::TickedPackets packets);

    // Closes the open slot, if there is one.
    void Finish();

private:
    SlotSink& sink_;
    bool isOpen_ = false;
    bool isOver_ = false; // the recording is to stop, and there was no slot
};

} // namespace workstation::service::ring

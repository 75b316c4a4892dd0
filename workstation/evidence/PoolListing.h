// What is in the slots and in the streams of a pool.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "evidence/Catalogue.h"
#include "evidence/PoolView.h"
#include "evidence/SlotEnds.h"
#include "evidence/TimeGaps.h"

namespace workstation::evidence {

enum class SlotState : std::uint8_t {
    free,      // no data, and nothing records into it
    recording, // a recording writes it, or the database says so
    finished,
    unknown, // data that the database does not know; without a database: no ticks
};

// The name of a state in reports.
char const* Name(SlotState state);

struct ListedSlot {
    int slot; // from 1
    SlotState state;
    std::optional<unsigned int> stream; // from 1
    std::uint32_t bytes;                // as stated
    std::optional<SlotEnds> ends;       // null when it has no ticks
};

// Reads the ends of the slot. `catalogue` is null where there is no database: then the stream is
// not known, and a slot with ticks counts as finished.
ListedSlot ListSlot(PoolView const& pool, Catalogue const* catalogue, int slot);

struct ListedStream {
    unsigned int stream = 0;          // from 1
    std::vector<int> slots;           // in the order of recording
    std::uint64_t bytes = 0;          // as stated
    std::optional<std::int32_t> from; // of the first tick; null when there is none
    std::optional<std::int32_t> to;   // of the last tick
    std::vector<TimeGap> gaps;
};

// The streams that have slots, in ascending order.
std::vector<ListedStream> ListStreams(PoolView const& pool, Catalogue const& catalogue);

struct SlotGap {
    int slot;
    TimeGap gap;
};

// All that is listed of a pool.
struct PoolContents {
    std::vector<ListedSlot> slots; // slot n at index n - 1
    std::vector<ListedStream> streams;
    std::vector<SlotGap> gapsOfUnknown; // within slots whose stream is not known

    ListedSlot const& Slot(int number) const { return slots[static_cast<std::size_t>(number) - 1]; }
};

// Reads several slots at once, each once. `catalogue` as for ListSlot.
PoolContents ListContents(PoolView const& pool, Catalogue const* catalogue);

} // namespace workstation::evidence

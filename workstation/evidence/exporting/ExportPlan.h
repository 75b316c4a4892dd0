// Which bytes of which slots an export consists of.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "evidence/exporting/Pieces.h"
#include "store/RecordedFile.h"

namespace workstation::evidence::exporting {

// Seconds since the epoch, both included.
struct Interval {
    std::int64_t from;
    std::optional<std::int64_t> to; // null: as far as there is something

    bool Has(std::int64_t time) const { return from <= time && (!to || time <= *to); }
};

enum class StartAt {
    decoderStart, // where a decoder can start, as FindDecoderStart says
    tick,         // the first tick of the interval
};

// The slots whole, in this order. Those without a byte are left out.
std::vector<Piece> PlanSlots(PoolSlots& slots, std::vector<int> const& numbers);

// The packets of a stream from the first tick of the interval up to the first one after it.
// `chain` is what is recorded of the stream, in the order of recording. `isWanted` (by link) says
// which links may be used; the decoder may start in another one. Empty when there is no such tick.
// Throws Failure (ESTALE) when a slot holds other ticks than the chain says: it was recorded over.
//
// Times of ticks must not decrease in a slot; from slot to slot they may.
std::vector<Piece> PlanInterval(PoolSlots& slots, std::vector<store::RecordedFile> const& chain,
                                std::vector<bool> const& isWanted, Interval const& interval,
                                StartAt startAt);

} // namespace workstation::evidence::exporting

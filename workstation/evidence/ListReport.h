// What a list prints: aligned columns for people, or JSON.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "evidence/Catalogue.h"
#include "evidence/PoolListing.h"

namespace workstation::evidence {

// One kind of row is added, in order. Written as it comes: a pool can have 100,000 slots.
class ListReport {
public:
    enum class Kind { slots, streams, events, recordings };

    virtual ~ListReport() = default;

    // `events` are the identifiers of those that hold the slot.
    virtual void Add(ListedSlot const& slot, std::vector<std::string> const& events) = 0;
    virtual void Add(ListedStream const& stream) = 0;
    virtual void Add(HeldEvent const& event) = 0;
    virtual void Add(store::RecordingRow const& recording) = 0;

    // All rows were added.
    virtual void End() = 0;
};

// A line with the names of the columns, and a line for each row; "-" stands for nothing. `out` must
// outlive the report.
std::unique_ptr<ListReport> MakeTextList(ListReport::Kind kind, std::ostream& out);

// One JSON document as docs/list.schema.json describes it.
std::unique_ptr<ListReport> MakeJsonList(ListReport::Kind kind, std::ostream& out);

// The numbers of the streams in a mask whose bit n stands for stream n + 1.
std::vector<unsigned int> StreamsOf(unsigned int mask);

} // namespace workstation::evidence

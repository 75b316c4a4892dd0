// What can be asked of an export, and which files come of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "evidence/Catalogue.h"
#include "evidence/exporting/ExportPlan.h"
#include "evidence/exporting/Manifest.h"
#include "evidence/exporting/Pieces.h"

namespace workstation::evidence::exporting {

// One of three: an event or a recording; an interval of a stream; whole slots.
struct ExportRequest {
    std::optional<std::string> reid;
    std::optional<unsigned int> stream; // with `reid`: this stream of it alone
    std::optional<std::int64_t> from;   // with `to`, without `reid`
    std::optional<std::int64_t> to;
    std::vector<int> slots;
    StartAt startAt = StartAt::decoderStart;
};

// The contents of one file.
struct PlannedExport {
    Asked asked;
    std::vector<Piece> pieces; // at least one
};

// One file for each stream, in their order. Throws Failure: for an identifier or a stream that the
// catalogue does not have, when nothing is recorded there, and as the functions of ExportPlan.h do.
std::vector<PlannedExport> PlanExports(PoolSlots& slots, Catalogue const& catalogue,
                                       ExportRequest const& request);

} // namespace workstation::evidence::exporting

// What an export prints at its end.
#include "evidence/exporting/ExportSummary.h"

#include "LocalTime.h"
#include "evidence/Plural.h"

namespace workstation::evidence::exporting {
namespace {

// "slot 3", "slots 3-5,8": numbers that count up by one become a range.
std::string DescribeSlots(std::vector<Piece> const& pieces) {
    std::string text;
    for (std::size_t first = 0; first < pieces.size();) {
        std::size_t last = first;
        while (last + 1 < pieces.size() && pieces[last + 1].slot == pieces[last].slot + 1) {
            ++last;
        }
        text += (text.empty() ? "" : ",") + std::to_string(pieces[first].slot);
        if (last > first) {
            text += "-" + std::to_string(pieces[last].slot);
        }
        first = last + 1;
    }
    return (pieces.size() == 1 ? "slot " : "slots ") + text;
}

std::string DescribeTicks(SlotSummary const& held) {
    if (!held.firstTick) {
        return "no ticks";
    }
    return LocalTime(*held.from) + " to " + LocalTime(*held.to) + ", " +
           Plural(held.ticks, "tick") + " (" + std::to_string(*held.firstTick) + " to " +
           std::to_string(*held.lastTick) + ")";
}

} // namespace

std::string DescribeExport(std::string const& path, Asked const& asked,
                           std::vector<Piece> const& pieces, CopiedPieces const& copied) {
    return path + ": " + DescribeSlots(pieces) + ", " + DescribeTicks(copied.summary) + ", " +
           PluralOrNo(copied.gaps, "gap") + ", " + PluralOrNo(copied.summary.faults, "fault") +
           ", " + (IsComplete(asked, copied) ? "complete" : "incomplete");
}

} // namespace workstation::evidence::exporting

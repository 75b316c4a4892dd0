// What an export prints at its end.
#pragma once

#include <string>
#include <vector>

#include "evidence/exporting/Manifest.h"
#include "evidence/exporting/PieceCopy.h"
#include "evidence/exporting/Pieces.h"

namespace workstation::evidence::exporting {

// "OUT.ts: slots 3-5, 2026-11-22 14:05:00 CET to 2026-11-22 14:10:00 CET, 6001 ticks (100 to 6100),
// no gap, 1 fault, incomplete".
std::string DescribeExport(std::string const& path, Asked const& asked,
                           std::vector<Piece> const& pieces, CopiedPieces const& copied);

} // namespace workstation::evidence::exporting

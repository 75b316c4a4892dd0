// What a manifest states about an exported file, as far as it can be verified.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "evidence/exporting/Pieces.h"

namespace workstation::evidence::exporting {

struct StatedExport {
    std::string name; // without a folder
    std::uint64_t bytes = 0;
    std::string sha256;
    std::vector<Piece> pieces;
    std::vector<std::string> pieceHashes; // one for each piece
};

// Reads a manifest as docs/manifest.schema.json describes it. Throws Failure when the file cannot
// be read, and (EINVAL) with the first thing that is not as described, or that contradicts itself.
StatedExport ReadManifest(std::string const& path);

} // namespace workstation::evidence::exporting

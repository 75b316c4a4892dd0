// The hashes of a file and of the pieces that it consists of.
#include "evidence/exporting/PieceHashes.h"

#include <algorithm>

namespace workstation::evidence::exporting {

void PieceHashes::AddToWhole(std::span<unsigned char const> bytes) {
    if (!IsOnePiece()) {
        whole_.Add(bytes);
    }
}

void PieceHashes::AddToPieces(std::span<unsigned char const> bytes) {
    while (!bytes.empty()) {
        std::uint64_t const end = begins_[pieces_.size() + 1];
        auto const part = bytes.first(std::min<std::uint64_t>(end - done_, bytes.size()));
        piece_.Add(part);
        done_ += part.size();
        bytes = bytes.subspan(part.size());
        if (done_ == end) {
            pieces_.push_back(piece_.Take());
        }
    }
}

} // namespace workstation::evidence::exporting

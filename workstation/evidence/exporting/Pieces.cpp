// The pieces of slots that make up an exported file.
#include "evidence/exporting/Pieces.h"

#include <algorithm>
#include <utility>

namespace workstation::evidence::exporting {

JoinedPieces::JoinedPieces(PoolSlots& slots, std::vector<Piece> pieces)
    : slots_(slots)
    , pieces_(std::move(pieces))
    , begins_{0} {
    for (Piece const& piece : pieces_) {
        begins_.push_back(begins_.back() + piece.bytes);
    }
}

std::size_t JoinedPieces::PieceAt(std::uint64_t offset) const {
    auto const after = std::ranges::upper_bound(begins_, offset);
    return static_cast<std::size_t>(after - begins_.begin()) - 1;
}

void JoinedPieces::Read(std::uint64_t offset, std::span<unsigned char> bytes,
                        std::vector<Range>& unreadable) {
    while (!bytes.empty()) {
        std::size_t const index = PieceAt(offset);
        Piece const& piece = pieces_[index];
        std::uint64_t const begin = begins_[index];
        auto const part =
            bytes.first(std::min<std::uint64_t>(bytes.size(), begin + piece.bytes - offset));
        std::vector<Range> inSlot;
        slots_.At(piece.slot).Read(piece.offset + offset - begin, part, inSlot);
        for (Range const& range : inSlot) {
            unreadable.push_back({range.offset - piece.offset + begin, range.bytes});
        }
        offset += part.size();
        bytes = bytes.subspan(part.size());
    }
}

} // namespace workstation::evidence::exporting

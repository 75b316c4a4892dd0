// The pieces of slots that make up an exported file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "evidence/ByteSource.h"
#include "evidence/exporting/PoolSlots.h"

namespace workstation::evidence::exporting {

// Bytes of one slot.
struct Piece {
    int slot;
    std::uint64_t offset; // in the slot
    std::uint64_t bytes;

    std::uint64_t End() const { return offset + bytes; }
    bool operator==(Piece const&) const = default;
};

// Pieces in a row, read as one. Offsets count from the first byte of the first piece.
class JoinedPieces : public ByteSource {
public:
    // The slots must outlive the object.
    JoinedPieces(PoolSlots& slots, std::vector<Piece> pieces);

    std::vector<Piece> const& Pieces() const { return pieces_; }

    // Where each piece begins in the row, and at the end the length of all.
    std::vector<std::uint64_t> const& Begins() const { return begins_; }

    // The piece in which the byte lies, by its index.
    std::size_t PieceAt(std::uint64_t offset) const;

    std::uint64_t Length() const override { return begins_.back(); }

    void Read(std::uint64_t offset, std::span<unsigned char> bytes,
              std::vector<Range>& unreadable) override;

private:
    PoolSlots& slots_;
    std::vector<Piece> pieces_;
    std::vector<std::uint64_t> begins_;
};

} // namespace workstation::evidence::exporting

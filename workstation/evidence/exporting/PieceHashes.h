// The hashes of a file and of the pieces that it consists of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "evidence/exporting/Sha256.h"

namespace workstation::evidence::exporting {

class PieceHashes {
public:
    // `begins`: where each piece begins, and at the end the length of all; at least one piece.
    explicit PieceHashes(std::vector<std::uint64_t> begins)
        : begins_(std::move(begins)) {}

    // Both take the next bytes of the file, not more than the pieces have. They may be called at
    // the same time.
    void AddToPieces(std::span<unsigned char const> bytes);
    void AddToWhole(std::span<unsigned char const> bytes);

    // The hash of each piece that is complete.
    std::vector<std::string> const& Pieces() const { return pieces_; }

    // The hash of the file, when all pieces are complete.
    std::string TakeWhole() { return IsOnePiece() ? pieces_.front() : whole_.Take(); }

private:
    // Such a piece is the file: its bytes are hashed once.
    bool IsOnePiece() const { return begins_.size() == 2; }

    std::vector<std::uint64_t> begins_;
    std::uint64_t done_ = 0;
    Sha256 piece_;
    Sha256 whole_;
    std::vector<std::string> pieces_;
};

} // namespace workstation::evidence::exporting

// Copies pieces of slots into a file, looks for faults, and hashes on the way.
#include "evidence/exporting/PieceCopy.h"

#include <fcntl.h>

#include <algorithm>
#include <future>
#include <utility>

#include "NewFile.h"
#include "evidence/TimeGaps.h"

namespace workstation::evidence::exporting {

PieceCopy::PieceCopy(PoolSlots& slots, JoinedPieces& pieces, CopyTarget target, Findings& findings,
                     std::function<void(std::uint64_t bytes)> const& progress)
    : slots_(slots)
    , pieces_(pieces)
    , target_(std::move(target))
    , findings_(findings)
    , progress_(progress)
    , hashes_(pieces.Begins()) {}

CopiedPieces PieceCopy::Run() {
    CopiedPieces copied;
    copied.summary = ScanSlot(pieces_, *this);
    copied.summary.faults = faults_;
    copied.gaps = gaps_;
    copied.pieceHashes = hashes_.Pieces();
    copied.wholeHash = hashes_.TakeWhole();
    copied.tag = gmac_.Take();
    return copied;
}

void PieceCopy::OnRead(std::span<unsigned char const> bytes) {
    auto pieces = std::async(std::launch::async, [this, bytes] { hashes_.AddToPieces(bytes); });
    auto whole = std::async(std::launch::async, [this, bytes] {
        hashes_.AddToWhole(bytes);
        gmac_.Add(bytes);
    });
    CheckSlotsUpTo(done_ + bytes.size());
    WriteAll(target_.descriptor, bytes, target_.path);
    if (target_.isFile) {
        // A hint: the flush at the end waits less. Where it does not work it is not needed.
        sync_file_range(target_.descriptor, static_cast<off_t>(done_),
                        static_cast<off_t>(bytes.size()), SYNC_FILE_RANGE_WRITE);
    }
    done_ += bytes.size();
    pieces.get();
    whole.get();
    progress_(bytes.size());
}

// A piece that has been read is what its slot held, if the slot is unchanged after that.
void PieceCopy::CheckSlotsUpTo(std::uint64_t offset) {
    auto const& begins = pieces_.Begins();
    std::size_t const read =
        offset == begins.back() ? pieces_.Pieces().size() : pieces_.PieceAt(offset) + 1;
    for (std::size_t piece = checked_; piece < read; ++piece) {
        slots_.At(pieces_.Pieces()[piece].slot).CheckUnchanged();
    }
    // The last one may have been read in part.
    checked_ = read - (offset == begins.back() ? 0 : 1);
}

// A fault that reaches into the next piece is one of each slot.
void PieceCopy::OnFault(Fault const& fault) {
    std::uint64_t const end = fault.offset + fault.bytes;
    for (std::uint64_t offset = fault.offset; offset < end;) {
        std::size_t const index = pieces_.PieceAt(offset);
        Piece const& piece = pieces_.Pieces()[index];
        std::uint64_t const begin = pieces_.Begins()[index];
        Fault part = fault;
        part.bytes = std::min(end, begin + piece.bytes) - offset;
        part.offset = piece.offset + offset - begin;
        findings_.Add({piece.slot, part, offset});
        ++faults_;
        offset += part.bytes;
    }
}

void PieceCopy::OnTick(PlacedTick const& tick) {
    if (lastTick_ && IsGap(*lastTick_, tick)) {
        findings_.AddGap(*lastTick_, tick);
        ++gaps_;
    }
    lastTick_ = tick;
}

} // namespace workstation::evidence::exporting

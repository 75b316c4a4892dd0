// Copies pieces of slots into a file, looks for faults, and hashes on the way.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "evidence/SlotScan.h"
#include "evidence/exporting/Findings.h"
#include "evidence/exporting/Gmac.h"
#include "evidence/exporting/PieceHashes.h"
#include "evidence/exporting/Pieces.h"

namespace workstation::evidence::exporting {

struct CopiedPieces {
    SlotSummary summary; // of all pieces as one; its faults are counted here
    std::uint64_t gaps = 0;
    std::vector<std::string> pieceHashes;
    std::string wholeHash;
    Gmac::Tag tag{}; // of all bytes, to compare them with what was written
};

// Where the copy goes.
struct CopyTarget {
    int descriptor;
    std::string path; // as messages name it
    bool isFile;      // writing to the disk begins early
};

// Copies once. Bytes are hashed on other threads while they are written, the file and its pieces
// each on one.
class PieceCopy : private ScanObserver {
public:
    // At least one piece. Everything must outlive the object. `progress` is called with numbers of
    // bytes.
    PieceCopy(PoolSlots& slots, JoinedPieces& pieces, CopyTarget target, Findings& findings,
              std::function<void(std::uint64_t bytes)> const& progress);

    // Throws Failure: when the target cannot be written, and (ESTALE) when a slot was recorded over
    // before all of its piece was copied.
    CopiedPieces Run();

private:
    void OnRead(std::span<unsigned char const> bytes) override;
    void OnFault(Fault const& fault) override;
    void OnTick(PlacedTick const& tick) override;

    void CheckSlotsUpTo(std::uint64_t offset);

    PoolSlots& slots_;
    JoinedPieces& pieces_;
    CopyTarget target_;
    Findings& findings_;
    std::function<void(std::uint64_t bytes)> const& progress_;
    PieceHashes hashes_;
    Gmac gmac_;
    std::uint64_t done_ = 0;
    std::size_t checked_ = 0; // pieces whose slots are known to be unchanged
    std::optional<PlacedTick> lastTick_;
    std::uint64_t gaps_ = 0;
    std::uint64_t faults_ = 0;
};

} // namespace workstation::evidence::exporting

// Compares an exported file with its manifest, and with the pool.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "evidence/PoolView.h"
#include "evidence/exporting/StatedExport.h"

namespace workstation::evidence::exporting {

enum class MismatchKind : std::uint8_t {
    bytes,        // the file has another size
    sha256,       // the file has another hash
    checksumFile, // the file for sha256sum states something else
    piece,        // a piece of the file has another hash, or is missing
    pool,         // the pool no longer holds the bytes of a piece
};

struct Mismatch {
    MismatchKind kind;
    std::optional<std::size_t> piece; // index in the manifest
};

struct Verification {
    std::string path;        // of the exported file
    std::uint64_t bytes = 0; // that it has
    bool isPoolCompared = false;
    std::vector<Mismatch> mismatches;
};

// The exported file lies beside its manifest. `pool` may be null. `progress` is called with numbers
// of bytes. Throws Failure when the file cannot be opened.
Verification Verify(std::string const& manifestPath, StatedExport const& stated,
                    PoolView const* pool, std::function<void(std::uint64_t bytes)> const& progress);

// A line for each mismatch, and at the end one that says whether there is any.
void PrintText(Verification const& verification, StatedExport const& stated, std::ostream& out);

// One document as docs/verify.schema.json describes it.
void PrintJson(Verification const& verification, StatedExport const& stated, std::ostream& out);

} // namespace workstation::evidence::exporting

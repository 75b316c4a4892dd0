// Compares an exported file with its manifest, and with the pool.
#include "evidence/exporting/Verification.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>

#include "Failure.h"
#include "UnnamedFile.h"
#include "evidence/Json.h"
#include "evidence/Plural.h"
#include "evidence/SlotReader.h"
#include "evidence/exporting/Blocks.h"
#include "evidence/exporting/ChecksumFile.h"
#include "evidence/exporting/PieceHashes.h"
#include "evidence/exporting/Sha256.h"
#include "pool/PoolLayout.h"

namespace workstation::evidence::exporting {
namespace {

using Progress = std::function<void(std::uint64_t bytes)>;

char const* Name(MismatchKind kind) {
    switch (kind) {
    case MismatchKind::bytes:
        return "bytes";
    case MismatchKind::sha256:
        return "sha256";
    case MismatchKind::checksumFile:
        return "checksum_file";
    case MismatchKind::piece:
        return "piece";
    case MismatchKind::pool:
        return "pool";
    }
    return "";
}

std::vector<std::uint64_t> BeginsOf(std::vector<Piece> const& pieces) {
    std::vector<std::uint64_t> begins{0};
    for (Piece const& piece : pieces) {
        begins.push_back(begins.back() + piece.bytes);
    }
    return begins;
}

// Reads the file once, as far as the manifest goes.
void CompareFile(ByteSource& file, StatedExport const& stated, Progress const& progress,
                 std::vector<Mismatch>& mismatches) {
    PieceHashes hashes(BeginsOf(stated.pieces));
    std::uint64_t const size = std::min(file.Length(), stated.bytes);
    auto const unreadable = ReadBlocks(
        file, {0, size},
        [&](std::span<unsigned char const> bytes) {
            hashes.AddToPieces(bytes);
            hashes.AddToWhole(bytes);
        },
        progress);
    if (file.Length() != stated.bytes) {
        mismatches.push_back({MismatchKind::bytes, {}});
    } else if (!unreadable.empty() || hashes.TakeWhole() != stated.sha256) {
        mismatches.push_back({MismatchKind::sha256, {}});
    }
    auto const& pieces = hashes.Pieces();
    for (std::size_t i = 0; i < stated.pieces.size(); ++i) {
        if (i >= pieces.size() || pieces[i] != stated.pieceHashes[i]) {
            mismatches.push_back({MismatchKind::piece, i});
        }
    }
}

// The file for sha256sum may have been left behind; if it is there, it says the same.
void CompareChecksumFile(std::string const& path, StatedExport const& stated,
                         std::vector<Mismatch>& mismatches) {
    std::ifstream file(path, std::ios::binary);
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    if (file.is_open() && text != ChecksumLine(stated.sha256, stated.name)) {
        mismatches.push_back({MismatchKind::checksumFile, {}});
    }
}

bool IsInPool(PoolView const& image, Piece const& piece, std::string const& hash,
              Progress const& progress) {
    if (static_cast<std::uint32_t>(piece.slot) > image.SlotCount()) {
        return false;
    }
    SlotReader slot(image.Descriptor(), image.SlotOffset(piece.slot), pool::poolSlotSize);
    Sha256 read; // what cannot be read counts as zeros, as in an export
    ReadBlocks(
        slot, {piece.offset, piece.bytes},
        [&](std::span<unsigned char const> bytes) { read.Add(bytes); }, progress);
    return read.Take() == hash;
}

// "bytes 0 to 187 of the file, from byte 376 of slot 3".
std::string Describe(StatedExport const& stated, std::size_t index) {
    std::uint64_t const begin = BeginsOf(stated.pieces)[index];
    Piece const& piece = stated.pieces[index];
    return Plural(piece.bytes, "byte") + " from byte " + std::to_string(begin) +
           ", exported from slot " + std::to_string(piece.slot) + " at byte " +
           std::to_string(piece.offset);
}

std::string Describe(Verification const& verification, StatedExport const& stated,
                     Mismatch const& mismatch) {
    switch (mismatch.kind) {
    case MismatchKind::bytes:
        return "has " + Plural(verification.bytes, "byte") + ", the manifest says " +
               std::to_string(stated.bytes);
    case MismatchKind::sha256:
        return "has another SHA-256 than the manifest says";
    case MismatchKind::checksumFile:
        return "the file .sha256 beside it says something else than the manifest";
    case MismatchKind::piece:
        return "not as exported: " + Describe(stated, *mismatch.piece);
    case MismatchKind::pool:
        return "no longer in the pool: " + Describe(stated, *mismatch.piece);
    }
    return "";
}

nlohmann::ordered_json ToJson(StatedExport const& stated, Mismatch const& mismatch) {
    nlohmann::ordered_json json = {{"kind", Name(mismatch.kind)},
                                   {"slot", nullptr},
                                   {"offset", nullptr},
                                   {"bytes", nullptr},
                                   {"output_offset", nullptr}};
    if (mismatch.piece) {
        Piece const& piece = stated.pieces[*mismatch.piece];
        json["slot"] = piece.slot;
        json["offset"] = piece.offset;
        json["bytes"] = piece.bytes;
        json["output_offset"] = BeginsOf(stated.pieces)[*mismatch.piece];
    }
    return json;
}

} // namespace

Verification Verify(std::string const& manifestPath, StatedExport const& stated,
                    PoolView const* pool, Progress const& progress) {
    std::string const directory = DirectoryOf(manifestPath);
    Verification verification;
    verification.path = (directory == "." ? "" : directory) + stated.name;
    FileDescriptor const file(open(verification.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        throw SystemFailure("cannot open '" + verification.path + "'");
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(EINVAL, "'" + verification.path + "' is not a regular file");
    }
    verification.bytes = static_cast<std::uint64_t>(status.st_size);
    SlotReader source(file.Get(), 0, verification.bytes);
    CompareFile(source, stated, progress, verification.mismatches);
    CompareChecksumFile(verification.path + ".sha256", stated, verification.mismatches);
    verification.isPoolCompared = pool != nullptr;
    for (std::size_t i = 0; pool != nullptr && i < stated.pieces.size(); ++i) {
        if (!IsInPool(*pool, stated.pieces[i], stated.pieceHashes[i], progress)) {
            verification.mismatches.push_back({MismatchKind::pool, i});
        }
    }
    return verification;
}

void PrintText(Verification const& verification, StatedExport const& stated, std::ostream& out) {
    for (Mismatch const& mismatch : verification.mismatches) {
        out << verification.path << ": " << Describe(verification, stated, mismatch) << "\n";
    }
    out << verification.path << ": "
        << (verification.mismatches.empty() ? "as exported" : "not as exported") << ", "
        << Plural(stated.pieces.size(), "piece")
        << (verification.isPoolCompared ? ", compared with the pool" : "") << ", "
        << PluralOrNo(verification.mismatches.size(), "difference") << std::endl;
}

void PrintJson(Verification const& verification, StatedExport const& stated, std::ostream& out) {
    auto mismatches = nlohmann::ordered_json::array();
    for (Mismatch const& mismatch : verification.mismatches) {
        mismatches.push_back(ToJson(stated, mismatch));
    }
    out << nlohmann::ordered_json{{"name", stated.name},
                                  {"bytes", verification.bytes},
                                  {"pieces", stated.pieces.size()},
                                  {"pool", verification.isPoolCompared},
                                  {"mismatches", mismatches},
                                  {"verified", verification.mismatches.empty()}}
        << std::endl;
}

} // namespace workstation::evidence::exporting

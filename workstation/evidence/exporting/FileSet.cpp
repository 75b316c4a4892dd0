// An exported file and what stands beside it.
#include "evidence/exporting/FileSet.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "Failure.h"
#include "NewFile.h"
#include "evidence/SlotReader.h"
#include "evidence/exporting/Blocks.h"
#include "evidence/exporting/ChecksumFile.h"
#include "evidence/exporting/Gmac.h"

namespace workstation::evidence::exporting {
namespace {

// Whether there is a regular file. Throws Failure when something else is there.
bool IsThere(std::string const& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(EINVAL, "'" + path + "' is not a regular file");
    }
    return true;
}

// Whether the file begins like one of ours: its first line, or all of it.
bool BeginsWith(std::string const& path, std::string const& text) {
    std::ifstream file(path, std::ios::binary);
    std::string begin(text.size(), '\0');
    file.read(begin.data(), static_cast<std::streamsize>(begin.size()));
    return file && begin == text;
}

bool IsChecksumOf(std::string const& path, std::string const& name) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    std::getline(file, line);
    std::string const expected = ChecksumLine(std::string(64, '0'), name);
    return line.size() + 1 == expected.size() &&
           expected.ends_with(line.substr(expected.find("  ")) + "\n");
}

std::string NameOf(std::string const& path) {
    return std::filesystem::path(path).filename();
}

std::string const& Replaceable(std::string const& path, bool isReplaceable) {
    bool const isThere = IsThere(path);
    bool const hasForeignChecksum =
        IsThere(path + ".sha256") && (isThere || !IsChecksumOf(path + ".sha256", NameOf(path)));
    bool const hasForeignManifest =
        IsThere(path + ".json") && (isThere || !BeginsWith(path + ".json", manifestBegin));
    for (auto const& [suffix, isInTheWay] :
         {std::pair("", isThere), std::pair(".sha256", hasForeignChecksum),
          std::pair(".json", hasForeignManifest)}) {
        if (isInTheWay && !isReplaceable) {
            throw Failure(EEXIST, "'" + path + suffix + "' exists (--force replaces it)");
        }
    }
    return path;
}

void Remove(std::string const& path) {
    if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        throw SystemFailure("cannot replace '" + path + "'");
    }
}

} // namespace

FileSet::FileSet(std::string const& path, bool isReplaceable)
    : path_(Replaceable(path, isReplaceable))
    , isReplaceable_(isReplaceable)
    , draft_(path + ".json")
    , checksum_(path + ".sha256")
    , file_(path) {}

void FileSet::Complete(Asked const& asked, JoinedPieces const& pieces, CopiedPieces const& copied,
                       std::function<void(std::uint64_t bytes)> const& progress) {
    file_.Flush();
    Compare(copied, progress);
    std::string const line = ChecksumLine(copied.wholeHash, NameOf(path_));
    checksum_.Write({reinterpret_cast<unsigned char const*>(line.data()), line.size()});
    checksum_.Flush();
    manifest_ = &draft_.Complete(NameOf(path_), asked, pieces.Pieces(), copied);
}

void FileSet::Compare(CopiedPieces const& copied,
                      std::function<void(std::uint64_t bytes)> const& progress) const {
    std::uint64_t const size = copied.summary.bytes;
    SlotReader written(file_.Descriptor(), 0, size);
    Gmac gmac;
    auto const unreadable = ReadBlocks(
        written, {0, size}, [&](std::span<unsigned char const> bytes) { gmac.Add(bytes); },
        progress);
    if (gmac.Take() != copied.tag || !unreadable.empty()) {
        throw Failure(EIO, "'" + path_ + "' does not hold what was written to it");
    }
}

void FileSet::Publish() {
    std::string const directory = DirectoryOf(path_);
    if (isReplaceable_ && IsThere(path_)) {
        Remove(path_);
        SyncDirectory(directory);
    }
    Remove(checksum_.Path());
    Remove(manifest_->Path());
    checksum_.Publish();
    manifest_->Publish();
    SyncDirectory(directory);
    file_.Publish();
    SyncDirectory(directory);
}

void FileSet::Keep() {
    file_.Keep();
    checksum_.Keep();
    manifest_->Keep();
}

} // namespace workstation::evidence::exporting

// A pool image that is only looked at.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "FileDescriptor.h"
#include "pool/PoolLayout.h"

namespace workstation::evidence {

// Opens an image anywhere, also on a read-only file system, and never changes it: it writes
// nothing, takes no lock and maps nothing. The image may be damaged: where the header is, the size
// of the file tells the number of slots; what lies beyond the end of the file cannot be read.
class PoolView {
public:
    // Throws Failure for a file that is no pool image.
    explicit PoolView(std::string const& path);

    int Descriptor() const { return file_.Get(); }
    std::uint32_t SlotCount() const { return slotCount_; }
    std::uint64_t FileSize() const { return fileSize_; }

    // Where the slot begins in the file, in bytes. Slots count from 1.
    std::uint64_t SlotOffset(int slot) const;

    // The stated length of a slot in bytes, read now, at most the slot. 0 when it cannot be read.
    std::uint32_t Length(int slot) const;

    // The bytes of the stated length that the image has: fewer where it is truncated.
    std::uint32_t ReadableLength(int slot) const;

    // The stream, from 1, whose recording writes the slot now; null when none does.
    std::optional<unsigned int> StreamBeingRecorded(int slot) const;

    // What is wrong with the table entry of a slot, in one line; null when nothing is.
    std::optional<std::string> DamageOf(int slot) const;

    // What is wrong with the image as a whole, one line each; empty when nothing is.
    std::vector<std::string> const& Damage() const { return damage_; }

private:
    // Null when the image ends before the word.
    std::optional<std::uint32_t> Word(int slot, pool::EntryWord word) const;

    std::string path_;
    FileDescriptor file_;
    std::uint64_t fileSize_ = 0;
    std::uint32_t slotCount_ = 0;
    std::vector<std::string> damage_;
};

} // namespace workstation::evidence

// A pool image that is in use: its table of files, and descriptors for its slots.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "FileDescriptor.h"
#include "pool/PoolLayout.h"
#include "pool/SharedMapping.h"

namespace workstation::pool {

// The header and the table are mapped and shared with every other process; each word of the table
// is read and written atomically. Slots are never mapped: they are read and written through
// descriptors. Holds no descriptor itself. Get and Set are safe in a signal handler.
class PoolImage {
public:
    // Throws Failure, whose text begins "pool '<path>': ", unless the file is an image with a valid
    // header and of exactly the right size. The entries of the table are not checked.
    static std::unique_ptr<PoolImage> Open(std::string const& path);

    // What space an image has from the start.
    enum class Blocks {
        sparse,    // only that of the header
        allocated, // all: the disk is never too full for the pool
    };

    // Makes an image of empty files, in place of whatever file is there. Apart from its name it is
    // durable. Throws Failure, after which an unfinished file may be left.
    static void Create(std::string const& path, std::uint32_t fileCount,
                       Blocks blocks = Blocks::sparse);

    std::string const& Path() const { return path_; }
    int FileCount() const { return static_cast<int>(fileCount_); }
    bool Has(int fileNumber) const { return fileNumber >= 1 && fileNumber <= FileCount(); }

    // One word of the entry of a file that the pool has.
    std::uint32_t Get(int fileNumber, EntryWord word) const;
    void Set(int fileNumber, EntryWord word, std::uint32_t value);

    // Sets the mark in the entry of a file that the event database knows it as it is.
    void MarkKnown(int fileNumber, bool isKnown) {
        Set(fileNumber, EntryWord::dbMatch, isKnown ? 1 : 0);
    }

    // Makes the header and the table durable as they are now, and no slot. Throws Failure.
    void SyncTable() const;

    // The service area of the header page. One thread of one process writes it at a time: the
    // service.
    std::span<unsigned char> ServiceArea() const;

    // Where the slot of a file begins, in bytes.
    std::uint64_t SlotOffset(int fileNumber) const {
        return PoolSlotOffset(fileCount_, fileNumber);
    }

    // Whether the file at `path` is this image, with its size unchanged.
    bool LiesAt(std::string const& path) const;

    // A new descriptor of the image, which has locks of its own; flags as for open(2). Throws
    // Failure, whose text begins with `what`: ESTALE when another image has taken the place of
    // this one.
    FileDescriptor OpenDescriptor(int flags, std::string const& what) const;

private:
    PoolImage(std::string path, std::uint32_t fileCount, dev_t device, ino_t inode,
              SharedMapping mapping);

    std::uint32_t* Word(int fileNumber, EntryWord word) const;

    std::string path_;
    std::uint32_t fileCount_;
    dev_t device_;
    ino_t inode_;
    SharedMapping mapping_;
};

// "pool '<path>'", as messages name it.
std::string PoolName(std::string const& path);

// The number of files that the header of an image states. Throws Failure when the header cannot be
// read or is damaged; `image` names the image in its text.
std::uint32_t ReadPoolHeader(int descriptor, std::string const& image);

// "stream file 7: the pool has no such file; it has 3".
std::string NoSuchStreamFile(PoolImage const& image, int fileNumber);

// "stream file 2: stated length 98566145 is beyond the slot of 98566144 bytes".
std::string LengthBeyondSlot(int fileNumber, std::uint32_t length);

} // namespace workstation::pool

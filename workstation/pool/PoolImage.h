// A pool image that is in use: its table of files, and ways to its slots.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "FileDescriptor.h"
#include "Trouble.h"
#include "pool/Mapping.h"
#include "pool/PoolLayout.h"

namespace workstation::pool {

// The header and the table are mapped and shared with every other process; each word of the table
// is read and written as a whole. Slots are never mapped: they are read and written through
// descriptors. Holds no descriptor itself. Only opening and creating allocate memory or set errno.
class PoolImage {
public:
    // Null, with "pool '<path>': " and what is wrong, unless the file is a sound image of exactly
    // the right size. Single entries are not looked at.
    static std::unique_ptr<PoolImage> Open(std::string const& path, Trouble& why);

    // Makes an image of empty files, in place of whatever file is there. The image is sparse.
    static bool Create(std::string const& path, std::uint32_t fileCount, Trouble& why);

    std::string const& Path() const { return path_; }
    int FileCount() const { return static_cast<int>(fileCount_); }
    bool Has(int fileNumber) const { return fileNumber >= 1 && fileNumber <= FileCount(); }

    // One word of the entry of a file that the pool has.
    std::uint32_t Get(int fileNumber, EntryWord word) const;
    void Set(int fileNumber, EntryWord word, std::uint32_t value);

    // Where the slot of a file begins, in bytes.
    std::uint64_t SlotOffset(int fileNumber) const {
        return PoolSlotOffset(fileCount_, fileNumber);
    }

    // True while the file at `path` is this image, with its size unchanged.
    bool LiesAt(std::string const& path) const;

    // A descriptor of its own on the image, with its own locks; flags as for open(2). None with
    // errno on failure: ESTALE when another image has taken the place of this one.
    FileDescriptor OpenDescriptor(int flags) const;

private:
    PoolImage(std::string path, std::uint32_t fileCount, dev_t device, ino_t inode,
              Mapping mapping);

    static std::unique_ptr<PoolImage> OpenSound(std::string const& path, Trouble& why);
    std::uint32_t* Word(int fileNumber, EntryWord word) const;

    std::string path_;
    std::uint32_t fileCount_;
    dev_t device_;
    ino_t inode_;
    Mapping mapping_;
};

// The number of files that the header of an image states; none when it is not as it must be.
std::optional<std::uint32_t> ReadPoolHeader(int descriptor, Trouble& why);

// "stream file 7: the pool has no such file; it has 3".
std::string NoSuchStreamFile(PoolImage const& image, int fileNumber);

// "stream file 2: stated length 98566145 is beyond the slot of 98566144 bytes".
std::string LengthBeyondSlot(int fileNumber, std::uint32_t length);

} // namespace workstation::pool

// Plain files on the hard-disk mount.
#pragma once

#include <optional>
#include <string>

namespace transfer {

// The path of a file on the hard-disk mount: the directory that the environment variable
// STREAMMGR_HD names at the time of the call, or /mnt/hd when it is unset or empty.
std::string HardDiskPath(std::string const& fileName);

// A file on the hard-disk mount. It is closed when the object is destroyed.
class HardDiskFile {
public:
    enum class Use {
        read,
        write, // created when it does not exist, else truncated to 0 bytes
    };

    // Opens the file. Check IsOpen: a failure has printed a line with the reason on standard error.
    HardDiskFile(std::string const& path, Use use);
    ~HardDiskFile();

    HardDiskFile(HardDiskFile const&) = delete;
    HardDiskFile& operator=(HardDiskFile const&) = delete;

    bool IsOpen() const { return descriptor_ != -1; }

    // Size in bytes. nullopt when the system does not report it, or when it does not fit a signed
    // 32-bit length.
    std::optional<long> Size() const;

    // Reads up to `count` bytes and returns how many were read. nullopt after a line on standard
    // error.
    std::optional<unsigned int> Read(unsigned char* bytes, unsigned int count);

    // Writes the bytes. False after a line on standard error when that failed. Deliberate: a short
    // write counts as complete, so that a full disk is noticed at the next write.
    bool Write(unsigned char const* bytes, int count);

private:
    int descriptor_;
};

} // namespace transfer

// Plain files on the hard-disk mount.
#pragma once

#include <optional>
#include <string>

#include "TransferBuffer.h"

namespace streamfile {

// The path of a file on the hard-disk mount: /mnt/hd, or what STREAMMGR_HD says at the moment.
std::string HardDiskPath(std::string const& fileName);

// An open file on the hard-disk mount; closed with the object.
class HardDiskFile {
public:
    enum class Use {
        read,
        write, // created, or emptied
    };

    // Opens the file. Ask IsOpen; a line on standard error has said why it is not.
    HardDiskFile(std::string const& path, Use use);
    ~HardDiskFile();

    HardDiskFile(HardDiskFile const&) = delete;
    HardDiskFile& operator=(HardDiskFile const&) = delete;

    bool IsOpen() const { return descriptor_ != -1; }

    // Size in bytes; none when it cannot be had, or stated in a signed 32-bit length.
    std::optional<long> Size() const;

    // Reads up to `count` bytes and returns how many there were; none after a line on standard
    // error.
    std::optional<unsigned int> Read(unsigned char* bytes, unsigned int count);

    // Writes the bytes; false after a line on standard error when that failed. A write that comes
    // short is not noticed: a full disk shows at the next one.
    bool Write(unsigned char const* bytes, int count);

private:
    int descriptor_;
};

// Takes chunks into a file on the hard disk.
class HardDiskSink {
public:
    HardDiskSink(HardDiskFile& file, TransferBuffer& buffer)
        : file_(file)
        , buffer_(buffer) {}

    unsigned char* Place() { return buffer_.Data(); }
    bool Take(int count) { return file_.Write(buffer_.Data(), count); }

private:
    HardDiskFile& file_;
    TransferBuffer& buffer_;
};

} // namespace streamfile

// Plain files on the hard-disk mount.
#pragma once

#include <string>

#include "TransferBuffer.h"

namespace streamfile {

// The path of a file on the hard-disk mount: /mnt/hd, or what STREAMMGR_HD says at the moment.
std::string HardDiskPath(std::string const& fileName);

// An open file on the hard-disk mount; closed with the object.
class HardDiskFile {
public:
    // Creates the file for writing, or empties it. Ask IsOpen; a line on standard error has said
    // why it is not.
    explicit HardDiskFile(std::string const& path);
    ~HardDiskFile();

    HardDiskFile(HardDiskFile const&) = delete;
    HardDiskFile& operator=(HardDiskFile const&) = delete;

    bool IsOpen() const { return descriptor_ != -1; }

    // Writes the bytes; false after a line on standard error when that failed. A write that comes
    // short is not noticed: a full disk shows at the next one.
    bool Write(unsigned char const* bytes, unsigned int count);

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
    bool Take(unsigned int count) { return file_.Write(buffer_.Data(), count); }

private:
    HardDiskFile& file_;
    TransferBuffer& buffer_;
};

} // namespace streamfile

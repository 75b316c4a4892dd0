// The common part of the tools that write a file of the hard disk over a stream file.
#pragma once

#include <functional>
#include <string>

#include "HardDiskFile.h"
#include "StreamFileAccess.h"
#include "TransferBuffer.h"

namespace streamfile {

// What is written for a chunk.
enum class Insert {
    wholeChunk,  // as much as was asked of the source, whatever it gave: past its end the buffer
                 // as it stands
    whatWasRead, // exactly what the source gave
};

// An insertion whose two files are open.
class Insertion {
public:
    Insertion(HardDiskFile& source, StreamFileAccess& file, TransferBuffer& buffer)
        : source_(source)
        , file_(file)
        , buffer_(buffer) {}

    HardDiskFile& Source() { return source_; }
    StreamFileAccess& File() { return file_; }

    // Writes `planned` bytes of the source over the stream file and adds each chunk to `copied`. A
    // source that gives nothing is no end: with `whatWasRead` the loop goes on until it has
    // delivered. A short write ends the loop, after a line about it, as if the plan had been
    // fulfilled. False after a line on standard error when a read or a write failed.
    bool Run(Insert insert, long planned, long& copied);

private:
    HardDiskFile& source_;
    StreamFileAccess& file_;
    TransferBuffer& buffer_;
};

// Opens the source at `path`, tells on standard output what is copied to `destination`, opens the
// stream file for writing, and has `run` do the rest. False after a line on standard error, or what
// `run` says.
bool InsertIntoPool(int fileNumber, std::string const& path, std::string const& destination,
                    std::function<bool(Insertion& insertion)> const& run);

} // namespace streamfile

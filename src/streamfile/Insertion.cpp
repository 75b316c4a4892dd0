// The common part of the tools that write a file of the hard disk over a stream file.
#include "Insertion.h"

#include <algorithm>
#include <iostream>

#include "../common/Int32.h"
#include "Messages.h"
#include "PoolChecks.h"
#include "ProgressMarks.h"
#include "StreamMgrFileMgmnt.h"

namespace streamfile {
namespace {

// The write controller of a stream file that a tool writes: a process other than the service.
constexpr auto externalProcess = static_cast<StreamMgrFileMgmnt::Control_t>(7);

} // namespace

bool Insertion::Run(Insert insert, long planned, long& copied) {
    bool const wholeChunks = insert == Insert::wholeChunk;
    ProgressMarks marks;
    long remaining = planned;
    bool last = false;
    do {
        auto const request = static_cast<unsigned int>(std::min<long>(remaining, chunkSize));
        auto const got = source_.Read(buffer_.Data(), request);
        if (!got) {
            return false;
        }
        unsigned int const count = wholeChunks ? request : *got;
        int const written = file_.Write(buffer_.Data(), count);
        if (written == -1) {
            SystemErrorLine({"Unexpected write status: "});
            return false;
        }
        bool const isShort = static_cast<unsigned int>(written) != count;
        if (isShort) {
            ShortTransferLine(wholeChunks ? "Read" : "Write", planned, request, written);
        }
        marks.CountChunk();
        remaining -= written;
        device::AddInt32(copied, written);
        last = isShort || remaining == 0;
    } while (!last);
    return true;
}

bool InsertIntoPool(int fileNumber, std::string const& path, std::string const& destination,
                    std::function<bool(Insertion& insertion)> const& run) {
    if (!IsWorkable(fileNumber) || !InitializePool()) {
        return false;
    }
    TransferBuffer buffer;
    HardDiskFile source(path, HardDiskFile::Use::read);
    if (!source.IsOpen()) {
        return false;
    }
    std::cout << "Copying requested stream file from '" << path << "' to " << destination
              << std::endl;
    StreamFileAccess file(fileNumber, false, externalProcess);
    if (!IsOpen(file)) {
        return false;
    }
    Insertion insertion(source, file, buffer);
    return run(insertion);
}

} // namespace streamfile

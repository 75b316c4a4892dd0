// Option -e: copies a stream file to the hard disk with a range of ticks cut out.
#include "streamfile/EditAndExtractStreamFile.h"

#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "streamfile/TickTable.h"
#include "transfer/ChunkReader.h"
#include "transfer/CopyOutOfPool.h"
#include "transfer/HardDiskFile.h"
#include "transfer/PreChecks.h"
#include "transfer/TransferBuffer.h"

using namespace streamfile;
using namespace transfer;

namespace {

// One end of the range to delete.
struct CutPoint {
    int tick;         // 0: omitted
    long offset;      // of the tick in the file, in bytes
    std::string text; // the tick in the name of the output; empty when omitted
};

// The end of the range at `tick`, or at `omittedOffset` when the tick is omitted. nullopt, after a
// line on standard error, when the table does not contain the tick.
std::optional<CutPoint> FindCutPoint(std::string_view name, int tick, long omittedOffset,
                                     int fileNumber, TickTable& ticks) {
    CutPoint point{tick, omittedOffset, ""};
    if (tick == 0) {
        return point;
    }
    if (!TickToOffset(ticks, static_cast<unsigned int>(tick), point.offset)) {
        std::cerr << name << " " << tick << " not found in stream file " << fileNumber << std::endl;
        return std::nullopt;
    }
    point.text = std::to_string(tick);
    return point;
}

void ShowCut(CutPoint const& first, long prologSize, CutPoint const& last, long epilogSize) {
    std::cout << "firsttick_ = " << first.tick << std::endl
              << "firsttickoffset = " << first.offset << std::endl
              << "prologsize = " << prologSize << std::endl
              << "firsttickstr = [" << first.text << "]" << std::endl
              << "lasttick_ = " << last.tick << std::endl
              << "lasttickoffset = " << last.offset << std::endl
              << "epilogsize = " << epilogSize << std::endl
              << "lasttickstr = [" << last.text << "]" << std::endl;
}

} // namespace

bool EditAndExtractStreamFile(int fileNumber, long& fileSize, long& bytesCount, bool unbounded,
                              int firstTick, int lastTick) {
    std::cout << "EditAndExtractStreamFile() was called." << std::endl;

    TickTable ticks;
    if (!GetStreamFileTicks(fileNumber, fileSize, bytesCount, unbounded, ticks)) {
        std::cerr << "Error getting the System Ticks for TS file:" << fileNumber << std::endl;
        return false;
    }

    TransferBuffer buffer;
    StreamFileAccess file(fileNumber, 0);
    auto const size = LengthToRead(file, unbounded);
    if (!size) {
        return false;
    }
    fileSize = *size;

    auto const first = FindCutPoint("firsttick", firstTick, 0, fileNumber, ticks);
    if (!first) {
        return false;
    }
    auto const last = FindCutPoint("lasttick", lastTick, *size, fileNumber, ticks);
    if (!last) {
        return false;
    }
    // Deliberate: a last tick before the first is not refused. The bytes between the two are then
    // copied twice.
    long const prologSize = first->offset;
    long const epilogSize = lastTick != 0 ? *size - last->offset : 0;
    ShowCut(*first, prologSize, *last, epilogSize);

    std::string const path =
        HardDiskPath(std::to_string(fileNumber) + "." + first->text + "-" + last->text + ".ts");
    HardDiskFile output(path, HardDiskFile::Use::write);
    if (!output.IsOpen()) {
        return false;
    }
    std::cout << "Copying requested stream file to '" << path << "'" << std::endl
              << "Copy prolog of '" << path << "'" << std::endl;

    // Deliberate: after a short read in the prolog the epilog still follows.
    ChunkReader prolog(file, *size, unbounded, prologSize);
    if (!CopyOutOfPool(prolog, output, buffer, bytesCount)) {
        return false;
    }
    file.Seek(last->offset);
    ChunkReader epilog(file, *size, unbounded, epilogSize);
    if (!CopyOutOfPool(epilog, output, buffer, bytesCount)) {
        return false;
    }
    std::cout << std::endl;
    return true;
}

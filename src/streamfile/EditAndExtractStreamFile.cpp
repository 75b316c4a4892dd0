// Option -e: copies a stream file to the hard disk with a range of ticks cut out.
#include "EditAndExtractStreamFile.h"

#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "ChunkLoop.h"
#include "HardDiskFile.h"
#include "PoolChecks.h"
#include "TickTable.h"

using namespace streamfile;

namespace {

// Where one end of the range lies.
struct CutPoint {
    int tick;         // 0: omitted
    long offset;      // of the tick in the file
    std::string text; // the tick as it stands in the output's name; empty when omitted
};

// The end of the range at `tick`, at `omittedOffset` when it is omitted; none, after a line on
// standard error, when the table does not hold the tick.
std::optional<CutPoint> FindCutPoint(std::string_view name, int tick, long omittedOffset,
                                     int fileNum, TickTable& ticks) {
    CutPoint point{tick, omittedOffset, ""};
    if (tick == 0) {
        return point;
    }
    if (!TickToOffset(ticks, static_cast<unsigned int>(tick), point.offset)) {
        std::cerr << name << " " << tick << " not found in stream file " << fileNum << std::endl;
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

bool EditAndExtractStreamFile(int fileNum, long& fileSize, long& bytesCount, bool unbounded,
                              int firsttick, int lasttick) {
    std::cout << "EditAndExtractStreamFile() was called." << std::endl;

    TickTable ticks;
    if (!GetStreamFileTicks(fileNum, fileSize, bytesCount, unbounded, ticks)) {
        std::cerr << "Error getting the System Ticks for TS file:" << fileNum << std::endl;
        return false;
    }

    TransferBuffer buffer;
    StreamFileAccess file(fileNum, 0);
    if (!IsOpen(file)) {
        return false;
    }
    auto const size = PlannedLength(file, unbounded);
    if (!size) {
        return false;
    }
    fileSize = *size;

    auto const first = FindCutPoint("firsttick", firsttick, 0, fileNum, ticks);
    if (!first) {
        return false;
    }
    auto const last = FindCutPoint("lasttick", lasttick, *size, fileNum, ticks);
    if (!last) {
        return false;
    }
    // A last tick before the first is not refused: what lies between them is then copied twice.
    long const prologSize = first->offset;
    long const epilogSize = lasttick != 0 ? *size - last->offset : 0;
    ShowCut(*first, prologSize, *last, epilogSize);

    std::string const path =
        HardDiskPath(std::to_string(fileNum) + "." + first->text + "-" + last->text + ".ts");
    HardDiskFile output(path, HardDiskFile::Use::write);
    if (!output.IsOpen()) {
        return false;
    }
    std::cout << "Copying requested stream file to '" << path << "'" << std::endl
              << "Copy prolog of '" << path << "'" << std::endl;

    // A prolog that comes short is told, but the epilog follows it all the same.
    ChunkSource const source{file, *size, unbounded};
    HardDiskSink sink(output, buffer);
    if (!MoveChunks(source, prologSize, sink, ProgressMarks(), bytesCount)) {
        return false;
    }
    file.Seek(last->offset);
    if (!MoveChunks(source, epilogSize, sink, ProgressMarks(), bytesCount)) {
        return false;
    }
    std::cout << std::endl;
    return true;
}

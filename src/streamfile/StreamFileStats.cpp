// Option --stats: the runs of consecutive ticks in stream files.
#include "StreamFileStats.h"

#include <iostream>

#include "PoolWalk.h"
#include "TickTable.h"

using namespace streamfile;

namespace {

void PrintRun(int fileNum, StreamMetadata const& first, StreamMetadata const& last) {
    auto const seconds = static_cast<int>(static_cast<unsigned int>(last.time) -
                                          static_cast<unsigned int>(first.time));
    std::cout << "  File " << fileNum << " tickRange: " << first.tick << "..." << last.tick
              << "   (diff= " << last.tick - first.tick << " ticks)"
              << "    timeRange: " << first.time << "..." << last.time << "   (diff= " << seconds
              << " seconds)" << std::endl;
}

// A break at the very last entry makes no run of its own: that entry ends the run before it.
void PrintRuns(int fileNum, TickTable const& ticks) {
    std::size_t start = 0;
    for (std::size_t entry = 1; entry < ticks.size(); ++entry) {
        if (entry + 1 == ticks.size()) {
            PrintRun(fileNum, ticks[start].second, ticks[entry].second);
        } else if (ticks[entry].second.tick - ticks[start].second.tick != entry - start) {
            PrintRun(fileNum, ticks[start].second, ticks[entry - 1].second);
            start = entry;
        }
    }
}

} // namespace

bool StreamFileStats(int fileNum, long& fileSize, long& bytesRead, bool unbounded) {
    return ForEachStreamFile(fileNum, [&](int number) {
        TickTable ticks;
        GetStreamFileTicks(number, fileSize, bytesRead, unbounded, ticks);
        // Said here in addition to what reading the ticks has said.
        if (ticks.empty()) {
            std::cout << "No system ticks found\n";
        }
        std::cout << "\n\n";
        PrintRuns(number, ticks);
        std::cout << "\n";
    });
}

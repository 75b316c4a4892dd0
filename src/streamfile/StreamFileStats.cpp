// Option --stats: the runs of consecutive ticks in stream files.
#include "streamfile/StreamFileStats.h"

#include <iostream>

#include "streamfile/FilesToScan.h"
#include "streamfile/TickTable.h"

using namespace streamfile;

namespace {

void PrintRun(int fileNumber, StreamMetadata const& first, StreamMetadata const& last) {
    auto const seconds = static_cast<int>(static_cast<unsigned int>(last.time) -
                                          static_cast<unsigned int>(first.time));
    std::cout << "  File " << fileNumber << " tickRange: " << first.tick << "..." << last.tick
              << "   (diff= " << last.tick - first.tick << " ticks)"
              << "    timeRange: " << first.time << "..." << last.time << "   (diff= " << seconds
              << " seconds)" << std::endl;
}

// Deliberate: a break at the very last entry does not start a new run. That entry is printed as the
// end of the run before it.
void PrintRuns(int fileNumber, TickTable const& ticks) {
    std::size_t start = 0;
    for (std::size_t entry = 1; entry < ticks.size(); ++entry) {
        if (entry + 1 == ticks.size()) {
            PrintRun(fileNumber, ticks[start].second, ticks[entry].second);
        } else if (ticks[entry].second.tick - ticks[start].second.tick != entry - start) {
            PrintRun(fileNumber, ticks[start].second, ticks[entry - 1].second);
            start = entry;
        }
    }
}

} // namespace

bool StreamFileStats(int fileNumber, long& fileSize, long& bytesRead, bool unbounded) {
    auto const files = FilesToScan(fileNumber);
    if (!files) {
        return false;
    }
    for (int const number : *files) {
        TickTable ticks;
        GetStreamFileTicks(number, fileSize, bytesRead, unbounded, ticks);
        // Deliberate: GetStreamFileTicks has printed a line about it as well.
        if (ticks.empty()) {
            std::cout << "No system ticks found\n";
        }
        std::cout << "\n\n";
        PrintRuns(number, ticks);
        std::cout << "\n";
    }
    return true;
}

// Option --tickinfo: the ticks of stream files, or how far apart they lie.
#include "StreamFileTickInfo.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <limits>

#include "PoolWalk.h"
#include "TickTable.h"

using namespace streamfile;

namespace {

void PrintTicks(int fileNum, TickTable const& ticks) {
    for (auto const& [offset, metadata] : ticks) {
        std::cout << " File: " << fileNum << " Tick: " << metadata.tick << " Offset: " << offset
                  << " Time: " << metadata.time << std::endl;
    }
}

// Across a gap in the ticks nothing is measured; without any consecutive pair the two lines show
// the values that the search begins with.
void PrintTickDistances(int fileNum, TickTable const& ticks) {
    unsigned int largest = 0;
    unsigned int smallest = std::numeric_limits<unsigned int>::max();
    for (std::size_t entry = 1; entry < ticks.size(); ++entry) {
        auto const& [previousOffset, previous] = ticks[entry - 1];
        auto const& [offset, current] = ticks[entry];
        if (current.tick - previous.tick != 1) {
            continue;
        }
        largest = std::max(largest, offset - previousOffset);
        smallest = std::min(smallest, offset - previousOffset);
    }
    std::cout << std::setw(4) << fileNum
              << " : Maximum consecutive tick offset delta in bytes = " << std::setw(10) << largest
              << "\n"
              << std::setw(4) << fileNum
              << " : Minimum consecutive tick offset delta in bytes = " << std::setw(10) << smallest
              << "\n";
}

} // namespace

bool StreamFileTickInfo(int fileNum, long& fileSize, char mode, long& bytesRead, bool unbounded) {
    return ForEachStreamFile(fileNum, [&](int number) {
        TickTable ticks;
        GetStreamFileTicks(number, fileSize, bytesRead, unbounded, ticks);
        if (ticks.empty()) {
            // Said a second time, after the same line from reading the ticks.
            std::cout << "No system ticks found in file number " << number << "\n";
            return;
        }
        std::cout << "\n\n";
        if (mode == 'm') {
            PrintTickDistances(number, ticks);
        } else {
            PrintTicks(number, ticks);
        }
        std::cout << "\n";
    });
}

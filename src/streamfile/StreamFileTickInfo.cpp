// Option --tickinfo: the ticks of stream files, or the distances between them.
#include "streamfile/StreamFileTickInfo.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <limits>

#include "streamfile/FilesToScan.h"
#include "streamfile/TickTable.h"

using namespace streamfile;

namespace {

void PrintTicks(int fileNumber, TickTable const& ticks) {
    for (auto const& [offset, metadata] : ticks) {
        std::cout << " File: " << fileNumber << " Tick: " << metadata.tick << " Offset: " << offset
                  << " Time: " << metadata.time << std::endl;
    }
}

// Only pairs of consecutive ticks are measured. Without any such pair the two lines show the values
// that the search starts with.
void PrintTickDistances(int fileNumber, TickTable const& ticks) {
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
    std::cout << std::setw(4) << fileNumber
              << " : Maximum consecutive tick offset delta in bytes = " << std::setw(10) << largest
              << "\n"
              << std::setw(4) << fileNumber
              << " : Minimum consecutive tick offset delta in bytes = " << std::setw(10) << smallest
              << "\n";
}

} // namespace

bool StreamFileTickInfo(int fileNumber, long& fileSize, char mode, long& bytesRead,
                        bool unbounded) {
    auto const files = FilesToScan(fileNumber);
    if (!files) {
        return false;
    }
    for (int const number : *files) {
        TickTable ticks;
        GetStreamFileTicks(number, fileSize, bytesRead, unbounded, ticks);
        if (ticks.empty()) {
            // Deliberate: GetStreamFileTicks has printed the same line.
            std::cout << "No system ticks found in file number " << number << "\n";
            continue;
        }
        std::cout << "\n\n";
        if (mode == 'm') {
            PrintTickDistances(number, ticks);
        } else {
            PrintTicks(number, ticks);
        }
        std::cout << "\n";
    }
    return true;
}

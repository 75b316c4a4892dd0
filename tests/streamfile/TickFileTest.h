// What the tests of the tick tools have in common.
#pragma once

#include <vector>

#include "StreamFileTest.h"

class TickFileTest : public StreamFileTest {
protected:
    // An entry of a tick table.
    static TickTable::value_type Entry(unsigned int offset, unsigned int tick, int time) {
        return {offset, {tick, time, {}}};
    }

    // Entries with these ticks, each 1000 bytes and 2 seconds after the one before it.
    static TickTable Entries(std::vector<unsigned int> const& ticks) {
        TickTable table;
        for (unsigned int const tick : ticks) {
            auto const index = static_cast<unsigned int>(table.size());
            table.push_back(Entry(1000 * index, tick, 50 + 2 * static_cast<int>(index)));
        }
        return table;
    }

    // The calls that read the ticks of a file of `size` bytes.
    static std::string ScanCalls(int number, long size, bool unbounded = false) {
        return CallsToScan(number, unbounded) + ReadCalls(number, size, unbounded) +
               CallsOfSearch() + CloseCall(number);
    }
    static std::string CallsToScan(int number, bool unbounded = false) {
        return std::string(initializeCall) + "pool.GetFilePoolSize()\n" + OpenCall(number) +
               (unbounded ? "" : LengthCall(number));
    }
    // The whole buffer is searched, whatever was read.
    static std::string CallsOfSearch() {
        return "TsHelper(98566144 bytes)\n"
               "ticks.SystemTick(2, 0)\n"
               "~TsHelper()\n";
    }
};

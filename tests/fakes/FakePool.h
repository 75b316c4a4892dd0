// The pool of stream files as a test sets it up.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "StreamMetadata.h"
#include "StreamMgrFileMgmnt.h"

using TickTable = std::vector<std::pair<unsigned int, StreamMetadata>>;

struct FakePool {
    static constexpr long slotSize = 0x5E00000;
    static constexpr long chunkSize = 0x2F000;

    struct File {
        long statedLength = 0;
        std::string written; // what was written over it, from its start
    };

    // What GetFilePoolSize answers; files may lack within it.
    long size = 8;
    std::map<int, File> files;
    std::map<int, StreamMgrFileMgmnt::FileMgmnt_t> table;
    std::vector<unsigned char> processTable; // empty: not mapped

    // What TsHelper finds, one table for each stream that it is given, in that order.
    std::vector<TickTable> tickTables;
    // Shown each stream that TsHelper is given.
    std::function<void(std::vector<unsigned char> const&)> onTickScan = [](auto const&) {};

    // State of the process's access.
    bool initialized = false;
    bool unloaded = false;
    int openFiles = 0;
};

// The bytes of a stream file: a pattern that differs from file to file and whose period is no
// divisor of a chunk, so that nothing can change places unnoticed. It fills the slot to its end.
void FillWithContent(unsigned char* out, int fileNumber, long offset, long count);
std::string StreamFileContent(int fileNumber, long offset, long count);

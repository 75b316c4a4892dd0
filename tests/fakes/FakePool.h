// The pool of stream files as a test sets it up.
#pragma once

#include <functional>
#include <map>
#include <set>
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

    // What GetFilePoolSize returns; not every number up to it needs to have a file.
    long size = 8;
    std::map<int, File> files;
    // Shows the writers and the lengths of those files that a test has put into it.
    std::map<int, StreamMgrFileMgmnt::FileMgmnt_t> table;
    std::vector<unsigned char> processTable; // empty: not mapped

    // The ticks in the streams that TsHelper searches, one table for each search, in that order.
    std::vector<TickTable> tickTables;
    // Called with each stream that TsHelper searches.
    std::function<void(std::vector<unsigned char> const&)> onTickScan = [](auto const&) {};

    // State of the process's access.
    bool initialized = false;
    bool unloaded = false;
    int openFiles = 0;
    std::set<int> filesBeingWritten;
};

// The bytes of a stream file: a pattern that differs from file to file and whose period does not
// divide a chunk, so that a test notices bytes in the wrong place. It fills the whole slot.
void FillWithContent(unsigned char* out, int fileNumber, long offset, long count);
std::string StreamFileContent(int fileNumber, long offset, long count);

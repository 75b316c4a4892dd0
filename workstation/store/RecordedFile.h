// The rows of the table `file`: what was recorded into which stream file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/Statement.h"

namespace workstation::store {

// One link in the chain of a stream: what one recording left in one stream file. A stream file that
// is used again gets a new link, and the old one is wiped.
struct RecordedFile {
    std::int64_t id = 0; // grows in the order of recording, never used again
    int fileNumber = 0;
    unsigned int stream = 0;    // 1 to 4
    std::int64_t startTime = 0; // times in seconds since the epoch
    std::int64_t stopTime = 0;  // until the link is finished: startTime
    unsigned int firstTick = 0;
    unsigned int lastTick = 0; // until the link is finished: firstTick
    unsigned int size = 0;     // bytes; until the link is finished: 0
    bool finished = false;
    bool wiped = false;

    bool operator==(RecordedFile const&) const = default;
};

// The columns in the order in which ReadFile reads them.
inline std::string const selectFile =
    "SELECT id, file_number, stream, start_time, stop_time, first_tick, last_tick, size, finished,"
    " wiped FROM file ";

RecordedFile ReadFile(Statement const& row);

// The rows for which `condition` holds, in the order of recording.
template <class... Values>
std::vector<RecordedFile> SelectFiles(Database const& database, std::string const& condition,
                                      Values const&... values) {
    return QueryAll(database, ReadFile, selectFile + "WHERE " + condition + " ORDER BY id",
                    values...);
}

// Adds an unfinished link. Returns its id.
std::int64_t InsertFile(Database const& database, RecordedFile const& file);

// Wipes the link unless an event holds it. False when nothing was wiped. Of each stream the newest
// 1000 wiped links are kept.
bool WipeFile(Database const& database, std::int64_t id);

} // namespace workstation::store

// The rows of the table `recording`: when which stream was recorded.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/Database.h"

namespace workstation::store {

// From the first packet of a source to its last.
struct RecordingRow {
    std::string reid;
    unsigned int stream = 0;                // 1 to 4
    std::int64_t startTime = 0;             // times in seconds since the epoch
    std::optional<std::int64_t> stopTime{}; // null until it ends

    bool operator==(RecordingRow const&) const = default;
};

// In the order in which they began.
std::vector<RecordingRow> SelectRecordings(Database const& database);

bool HasRecording(Database const& database, std::string const& reid);

// Adds a recording that goes on. Of each stream the newest 1000 are kept.
void InsertRecording(Database const& database, RecordingRow const& recording);

// A stop time before the start time counts as the start time.
void StopRecording(Database const& database, std::string const& reid, std::int64_t stopTime);

// Ends the recordings that have no end, as far as the files of their streams reach.
void StopInterruptedRecordings(Database const& database);

} // namespace workstation::store

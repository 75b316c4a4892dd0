// The rows of the tables `event` and `event_file`: the events and the files that they hold.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/RecordedFile.h"

namespace workstation::store {

// Files that are kept under an identifier.
struct Event {
    std::string reid;
    std::int64_t startTime = 0; // seconds since the epoch, both ends belong to the event
    std::int64_t stopTime = 0;
    unsigned int streams = 0; // bit n set: stream n + 1 is kept
    bool tagsComplete = false;
    std::string parent; // the event that this one was split off from; empty: not split off

    bool operator==(Event const&) const = default;
};

std::vector<Event> SelectEvents(Database const& database); // in the order in which they were made
std::optional<Event> FindEvent(Database const& database, std::string const& reid);

// In the order of recording.
std::vector<RecordedFile> SelectFilesOf(Database const& database, std::string const& reid);

void InsertEvent(Database const& database, Event const& event,
                 std::vector<RecordedFile> const& files);

// False when there is no such event. Releases its files.
bool RemoveEvent(Database const& database, std::string const& reid);

// An identifier with this time, in seconds since the epoch, and a random part, that no event and no
// recording has.
std::string UnusedReid(Database const& database, std::int64_t time);

} // namespace workstation::store

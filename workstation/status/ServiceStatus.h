// What the service is doing: the facts that it answers with and logs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace workstation::status {

// A stream that is recorded.
struct StreamStatus {
    enum class State {
        recording, // packets come
        waiting,   // no packets yet, or the source is gone and will be begun again
        ended,     // the recording is over
    };

    unsigned int stream = 0; // counted from 1
    std::string source;      // contains nothing secret
    bool isLive = false;     // the source is begun again when it goes
    State state = State::waiting;
    std::optional<std::int64_t> lastPacket; // seconds since the epoch; null before the first
    std::uint64_t bitsPerSecond = 0;        // of the packets of the last 5 s, without ticks
    std::uint32_t restarts = 0;             // how often a live source was begun again
    std::uint64_t droppedBytes = 0;         // bytes of the source that were no packets
    std::optional<int> slot;                // that is recorded into; null while there is none
    std::string problem;                    // what keeps it from recording; empty if nothing does

    bool operator==(StreamStatus const&) const = default;
};

// "recording", "waiting" or "ended".
char const* Name(StreamStatus::State state);

// Sizes in KiB, whole slots each.
struct StorageStatus {
    std::uint64_t totalKiB = 0;
    std::uint64_t bufferKiB = 0; // in use by recordings
    std::uint64_t freeKiB = 0;   // never written, or wiped

    bool operator==(StorageStatus const&) const = default;
};

struct ServiceStatus {
    std::uint32_t process = 0; // its id
    std::uint32_t upSeconds = 0;
    std::vector<StreamStatus> streams; // those that are recorded, in the order of their numbers
    StorageStatus storage;             // zeros where the pool is a directory
    std::uint32_t subscribers = 0;
    std::string problem; // what is wrong with the pool as a whole; empty if nothing is

    bool operator==(ServiceStatus const&) const = default;
};

// A line for each reason why the service does not do its work as it should: a live source is
// waiting, or something cannot be recorded. Empty if there is no reason.
std::vector<std::string> WhyDegraded(ServiceStatus const& status);

} // namespace workstation::status

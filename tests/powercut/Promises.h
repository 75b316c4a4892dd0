// What a recorder promises, checked from the bytes of its files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "e2e/Recorder.h"
#include "powercut/Feed.h"
#include "powercut/PoolBytes.h"

namespace powercut {

// One recording of one stream, as the test fed it.
struct FedRecording {
    std::shared_ptr<Feed> feed;
    Clock::time_point end;   // when the recorder was stopped, or lost its power
    std::uint64_t atLeast;   // packets that have to be there
    std::uint64_t stamped;   // packets that had certainly got their ticks
    bool mayBeWiped = false; // from its beginning on
};

// A stream file that an event holds, as it was when it was finished.
struct HeldFile {
    std::string reid;
    std::string row; // of the table `file`
    int number;
    std::string data;
};

// What a stream file that was not recorded may contain.
struct Contents {
    std::set<std::string> whole;
    // The stated length of a file that was being written over: what it covers is partly new then.
    std::optional<std::uint32_t> overwrittenLength = {};
};

// What was recorded and answered until now.
struct Expected {
    std::vector<FedRecording> recordings; // in their order
    std::set<std::string> events;         // whose REID was printed
    std::set<std::string> tagged;         // whose tags were confirmed to be complete
    std::set<std::string> deleted;        // or replaced by their parts
    std::set<std::string> undecided;      // to be deleted or split when the power went
    std::set<std::string> notified;       // recordings whose start was notified
    std::vector<HeldFile> held;
    std::map<std::filesystem::path, std::set<std::string>> backups; // with the events in them
    std::map<int, Contents> contents; // of files that are not recorded into
};

struct Findings {
    double worstLossSeconds = 0; // between what was fed and what was kept
};

// Expects every promise kept that can be seen in the recorder's pool and database. The service must
// not run.
Findings ExpectPromisesKept(e2e::Recorder const& recorder, Expected const& expected);

} // namespace powercut

// What the event database knows of the slots of a pool.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/Event.h"
#include "store/RecordedFile.h"
#include "store/RecordingRow.h"

namespace workstation::evidence {

// An event and the slots that it holds.
struct HeldEvent {
    store::Event event;
    std::vector<int> slots;  // in the order of recording
    std::uint64_t bytes = 0; // of the slots as the database states them: 0 for one being recorded
};

// The state of a database at one moment, in memory: about 60 bytes for a slot.
class Catalogue {
public:
    // Nothing is known.
    Catalogue() = default;

    // Reads a database of the service or a backup of one, of version 1 (which has no recordings) or
    // 2, and changes nothing. Throws Failure, also when there is no such file.
    explicit Catalogue(std::string const& path);

    // Of the database; null when nothing is known.
    std::optional<std::int64_t> Version() const { return version_; }

    // What is recorded in the slots, in the order of recording; at most one link for a slot.
    std::vector<store::RecordedFile> const& Files() const { return files_; }

    // What is recorded in a slot, counted from 1. Null when the database does not know it.
    store::RecordedFile const* FileIn(int slot) const;

    // Both in the order in which they were made.
    std::vector<HeldEvent> const& Events() const { return events_; }
    std::vector<store::RecordingRow> const& Recordings() const { return recordings_; }

    // Null when there is no such event or recording.
    HeldEvent const* FindEvent(std::string const& reid) const;
    store::RecordingRow const* FindRecording(std::string const& reid) const;

    // The identifiers of the events that hold a slot, in the order in which they were made.
    std::vector<std::string> EventsOf(int slot) const;

private:
    struct Hold {
        int slot;
        std::uint32_t event; // index in events_

        // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the operator for a null
        auto operator<=>(Hold const&) const = default;
    };

    void ReadFiles(store::Database const& database);
    void ReadEvents(store::Database const& database);

    std::optional<std::int64_t> version_;
    std::vector<store::RecordedFile> files_;
    std::vector<std::uint32_t> fileIn_; // by slot: index in files_, plus 1; 0: not known
    std::vector<HeldEvent> events_;
    std::vector<Hold> holds_; // sorted
    std::vector<store::RecordingRow> recordings_;
};

} // namespace workstation::evidence

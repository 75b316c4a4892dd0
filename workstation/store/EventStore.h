// The service's memory: what was recorded into which stream file, and the events made of it.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "store/Database.h"

namespace workstation::store {

// One link in the chain of a stream: what one recording into one stream file left. A stream file
// that is used again gets a new link; the old one is wiped.
struct RecordedFile {
    std::int64_t id = 0; // grows in the order of recording, never used again
    int fileNumber = 0;
    unsigned int stream = 0;    // 1 to 4
    std::int64_t startTime = 0; // times in seconds since the epoch
    std::int64_t stopTime = 0;  // until it is finished: startTime
    unsigned int firstTick = 0;
    unsigned int lastTick = 0; // until it is finished: firstTick
    unsigned int size = 0;     // bytes; until it is finished: 0
    bool finished = false;
    bool wiped = false;

    bool operator==(RecordedFile const&) const = default;
};

// Files that are kept under an identifier.
struct Event {
    std::string reid;
    std::int64_t startTime = 0; // seconds since the epoch, both ends belong to the event
    std::int64_t stopTime = 0;
    unsigned int streams = 0; // bit n set: stream n + 1 is kept
    bool tagsComplete = false;
    std::string parent; // the event that this one was split off from; empty for none

    bool operator==(Event const&) const = default;
};

// The files that events hold, by their number.
struct HeldFiles {
    std::set<int> inBuffer;     // the ring of routine recording still goes round here
    std::set<int> behindBuffer; // older than all that the ring can still wipe

    bool operator==(HeldFiles const&) const = default;
};

// The event database. Every operation is durable when it returns, happened wholly or not at all
// when the process dies, and may be called from any thread. Failures of the database are a
// DatabaseError: the operation had no effect, and the store can be used further.
//
// A file that an event holds is never wiped.
class EventStore {
public:
    // Opens the database at `path`, makes one when the file is missing or empty, and refuses, with
    // a DatabaseError and without touching it, a file that is damaged or something else.
    explicit EventStore(std::string const& path);

    // --- Stream files ---

    // A recording begins in a stream file: its new link. What the file held before is wiped;
    // nothing is done, and no link returned, when an event holds that.
    std::optional<std::int64_t> BeginFile(unsigned int stream, int fileNumber,
                                          std::int64_t startTime, unsigned int firstTick);

    // The recording ended. A stop before the start (the clock was set) counts as the start. False
    // for a link that is unknown or wiped.
    bool FinishFile(std::int64_t id, unsigned int size, std::int64_t stopTime,
                    unsigned int lastTick);

    // The size in bytes of what a stream file holds has changed. False when it holds nothing.
    bool UpdateFileSize(int fileNumber, unsigned int size);

    // Unless an event holds it. False, too, for a link that is unknown or wiped already. The newest
    // 1000 wiped links of each stream are remembered.
    bool Wipe(std::int64_t id);

    // All in the order of recording.
    std::vector<RecordedFile> UnfinishedFiles() const;
    std::vector<RecordedFile> FilesInUse() const; // those that are not wiped
    std::vector<RecordedFile> Chain(unsigned int stream, bool withWiped) const;

    // What the ring wipes next: the oldest finished file that no event holds.
    std::optional<RecordedFile> OldestUnprotected() const;

    HeldFiles FilesHeldByEvents() const;

    // --- System ticks ---

    // The first of `count` values of the stream's tick counter that were never handed out before.
    // The counter begins at 0 and wraps after 32 bits.
    unsigned int ReserveTicks(unsigned int stream, unsigned int count);

    // Takes back the end of the stream's last reservation, from `nextUnused` on. A value outside it
    // is ignored.
    void ReturnTicks(unsigned int stream, unsigned int nextUnused);

    // --- Events ---

    // An identifier with the date and time of `now` and a random part, which no event has.
    std::string NewReid(std::int64_t now) const;

    // Makes an event of what is held of the interval, both ends included, in the streams of the
    // mask (bit n: stream n + 1). A file that is still being recorded reaches until `now`. The
    // event's interval and streams are those that are really held; nothing when nothing is.
    std::optional<Event> RecordAfterTheFact(std::int64_t start, std::int64_t stop,
                                            unsigned int streams, std::int64_t now);

    std::optional<Event> FindEvent(std::string const& reid) const;
    std::vector<Event> Events() const;                                // in the order of making
    std::vector<RecordedFile> FilesOf(std::string const& reid) const; // in the order of recording

    // These tell whether the event is known.
    bool DeleteEvent(std::string const& reid);
    bool SetTagsComplete(std::string const& reid);

    // Replaces the event by events whose files, in the order of recording, add up to at most
    // `maxSizeKiB` each; a file that is still being recorded counts as a whole slot, and one that
    // is larger than the limit stands alone. Returns the events that now stand for it: the event
    // itself, unchanged, when it fits. Nothing when the event is unknown.
    std::optional<std::vector<Event>> SplitEvent(std::string const& reid, unsigned int maxSizeKiB);

    // --- The database ---

    // A consistent copy at `path` (service/store/DatabaseBackup.h). Does not hold up other threads.
    void Backup(std::string const& path) const;

private:
    // To be called with the mutex held.
    bool WipeUnlessHeld(std::int64_t id);
    std::string UnusedReid(std::int64_t time) const;
    std::optional<Event> Find(std::string const& reid) const;
    std::vector<RecordedFile> HeldBy(std::string const& reid) const;
    void Insert(Event const& event, std::vector<RecordedFile> const& files);

    mutable std::mutex mutex_;
    Database database_;
};

} // namespace workstation::store

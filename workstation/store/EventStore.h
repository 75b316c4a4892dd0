// The event database of the service: what was recorded into which stream file, and the events.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "store/Database.h"
#include "store/Event.h"
#include "store/RecordedFile.h"
#include "store/RecordingRow.h"

namespace workstation::store {

// The files that events hold, by their number.
struct HeldFiles {
    std::set<int> inBuffer;    // among the files that recordings still use in turn
    std::set<int> notInBuffer; // older than all files that can be wiped or are being recorded

    bool operator==(HeldFiles const&) const = default;
};

// Every operation is atomic, durable when it returns, and may be called from any thread. Every
// operation throws a Failure when the database fails: it then had no effect, and the store can
// still be used.
//
// A file that an event holds is never wiped.
class EventStore {
public:
    // Opens the database at `path`, or creates one when the file is missing or empty. Throws a
    // Failure, and leaves the file unchanged, when it is damaged or no event database.
    explicit EventStore(std::string const& path);

    // --- Stream files ---

    // A recording begins in a stream file. Wipes the former link of the file, and returns the id of
    // the new one. Null, with nothing changed, when an event holds the former link.
    std::optional<std::int64_t> BeginFile(unsigned int stream, int fileNumber,
                                          std::int64_t startTime, unsigned int firstTick);

    // The recording into the file has ended. A stop time before the start time (the clock was set)
    // counts as the start time. False for a link that is unknown or wiped.
    bool FinishFile(std::int64_t id, unsigned int size, std::int64_t stopTime,
                    unsigned int lastTick);

    // The length of a stream file was changed to `size` bytes. False for a file without a link that
    // is not wiped.
    bool UpdateFileSize(int fileNumber, unsigned int size);

    // The first system tick of the file, for one that began without a tick.
    void SetFirstTick(std::int64_t id, unsigned int firstTick);

    // Wipes a link. False when an event holds it, or when it is unknown or already wiped. Of each
    // stream the newest 1000 wiped links are kept.
    bool Wipe(std::int64_t id);

    // All of these in the order of recording.
    std::vector<RecordedFile> UnfinishedFiles() const;
    std::vector<RecordedFile> FilesInUse() const; // those that are not wiped
    std::vector<RecordedFile> Chain(unsigned int stream, bool withWiped) const;

    // Those that may be wiped: finished, and no event holds them.
    std::vector<RecordedFile> UnprotectedFiles() const;

    HeldFiles FilesHeldByEvents() const;

    // --- System ticks ---

    // Reserves the next `count` values of the stream's tick counter, and returns the first. The
    // counter begins at 0 and wraps after 32 bits.
    unsigned int ReserveTicks(unsigned int stream, unsigned int count);

    // Returns the end of the stream's last reservation, from `nextUnused` on. A value outside of
    // the reservation is ignored.
    void ReturnTicks(unsigned int stream, unsigned int nextUnused);

    // --- Recordings ---

    // A recording of a stream begins at `now`, in seconds since the epoch. Returns the identifier
    // of the new row.
    std::string BeginRecording(unsigned int stream, std::int64_t now);

    // The recording has ended. A stop time before the start time counts as the start time.
    void EndRecording(std::string const& reid, std::int64_t stopTime);

    // Ends the recordings that were cut off, as far as the files of their streams reach.
    void EndInterruptedRecordings();

    std::vector<RecordingRow> Recordings() const; // in the order in which they began
    bool IsRecording(std::string const& reid) const;

    // --- Events ---

    // Makes an event of the files that have a part of the interval, both ends included, in the
    // streams of the mask (bit n: stream n + 1). A file that is still being recorded reaches until
    // `now`. The event has the interval and the streams that these files cover. Null when there is
    // no such file.
    std::optional<Event> RecordAfterTheFact(std::int64_t start, std::int64_t stop,
                                            unsigned int streams, std::int64_t now);

    std::optional<Event> FindEvent(std::string const& reid) const;
    std::vector<Event> Events() const; // in the order in which they were made
    std::vector<RecordedFile> FilesOf(std::string const& reid) const;

    // False when there is no such event.
    bool DeleteEvent(std::string const& reid);
    bool SetTagsComplete(std::string const& reid);

    // Replaces the event by events of at most `maxSizeKiB` each, as store/SplitGroups.h says.
    // Returns these: the event itself, unchanged, when it is not larger. Null when there is no such
    // event.
    std::optional<std::vector<Event>> SplitEvent(std::string const& reid, unsigned int maxSizeKiB);

    // --- The database ---

    // Makes a consistent copy at `path`, as store/DatabaseBackup.h says. Other threads do not wait.
    void Backup(std::string const& path) const;

    // For the end of the service: from now on no operation waits long for a lock that another
    // program holds. May be called while other threads wait.
    void WaitBriefly() { database_.WaitAtMost(100); }

private:
    mutable std::mutex mutex_;
    Database database_;
};

} // namespace workstation::store

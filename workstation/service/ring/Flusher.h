// Makes what recordings write durable.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "FileDescriptor.h"
#include "pool/PoolImage.h"
#include "service/supervision/Heartbeat.h"

namespace workstation::service::ring {

class FileBeingRecorded;

// A flush serves the files of all streams. There are two a second, unless nothing was recorded:
// what a loss of power takes is then younger than a second, also if the disk is slow. A flush that
// fails is logged once, and again when flushing works.
class Flusher {
public:
    static constexpr std::chrono::milliseconds usualPeriod{500};

    // `image` outlives the object. `period` is the time between two flushes. Throws a Failure.
    explicit Flusher(pool::PoolImage const& image, std::chrono::milliseconds period = usualPeriod);

    Flusher(Flusher const&) = delete;
    Flusher& operator=(Flusher const&) = delete;

    // From now on flushes in a thread of its own, until the object is destroyed.
    void Start();

    // Files are in the care of the flusher from Add to Remove.
    void Add(FileBeingRecorded& file);
    void Remove(FileBeingRecorded& file);

    // Flushes soon, in its thread: a new file is seen at once.
    void FlushSoon();

    // Flushes at once. Returns when what was appended before is durable and stated, or when that
    // failed.
    void Flush();

    // The thread is stuck when a flush does not come to an end.
    supervision::Heartbeat const& ThreadsHeartbeat() const { return heartbeat_; }

    // Why recordings are not durable at present; empty if they are. Never waits for a flush.
    std::string Problem() const;

private:
    void Run(std::stop_token const& stop);
    void FlushFiles();
    void Sync() const;
    void LogFailure(char const* reason, std::size_t lost);
    void LogSuccess();
    void SetProblem(std::string problem);

    FileDescriptor pool_;
    std::chrono::milliseconds period_;
    supervision::Heartbeat heartbeat_; // of the thread
    std::mutex mutex_;                 // of what follows
    std::condition_variable_any wake_;
    std::vector<FileBeingRecorded*> files_;
    std::uint64_t lostBytes_ = 0;
    bool isFailing_ = false;
    bool isWanted_ = false;           // soon
    mutable std::mutex problemMutex_; // of what follows
    std::string problem_;
    std::jthread thread_; // the last member: stops before the others are destroyed
};

} // namespace workstation::service::ring

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

namespace workstation::service::ring {

class FileBeingRecorded;

// A flush serves the files of all streams. There is one a second while one stream is recorded, and
// two while there are more: at most one a second and stream. A flush that fails is logged once, and
// again when flushing works.
class Flusher {
public:
    // `image` outlives the object. Throws a Failure.
    explicit Flusher(pool::PoolImage const& image);

    Flusher(Flusher const&) = delete;
    Flusher& operator=(Flusher const&) = delete;

    // From now on flushes in a thread of its own, until the object is destroyed.
    void Start();

    // Files are in the care of the flusher from Add to Remove.
    void Add(FileBeingRecorded& file);
    void Remove(FileBeingRecorded& file);

    // Flushes at once: what was appended before is durable and stated, or given up.
    void Flush();

private:
    void Run(std::stop_token const& stop);
    void FlushFiles();
    void Sync() const;
    void LogLoss(char const* reason, std::size_t bytes);
    void LogRecovery();

    FileDescriptor pool_;
    std::mutex mutex_; // of what follows
    std::condition_variable_any wake_;
    std::vector<FileBeingRecorded*> files_;
    std::uint64_t lostBytes_ = 0;
    bool isFailing_ = false;
    std::jthread thread_; // the last member: stops before the others are destroyed
};

// How long to wait between two flushes while so many streams are recorded.
std::chrono::milliseconds FlushPeriod(std::size_t streams);

} // namespace workstation::service::ring

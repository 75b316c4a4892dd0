// Chooses the stream file that a recording continues in.
#pragma once

#include <memory>
#include <mutex>

#include "pool/PoolSession.h"
#include "service/ring/FileBeingRecorded.h"
#include "service/ring/Flusher.h"
#include "service/ring/Reaper.h"
#include "store/EventStore.h"

namespace workstation::service::ring {

// Recordings go round in the pool. A file is never taken if an event holds it, if it is being
// written, or if it has data that the database does not know: another program has put it there. May
// be used by several threads.
class FileAllocator {
public:
    // What is passed by reference outlives the object. A pool is loaded.
    FileAllocator(pool::PoolSession& session, store::EventStore& store, Flusher& flusher)
        : session_(session)
        , store_(store)
        , flusher_(flusher) {}

    // Takes an empty file to record the stream into: a free one, else the oldest after wiping it.
    // Null when there is neither. Throws a Failure.
    std::unique_ptr<FileBeingRecorded> Take(int stream);

    // Runs the reaper. Returns how many files were wiped. Throws a Failure.
    unsigned int Reap();

private:
    std::unique_ptr<pool::StreamFile> TakeFree(int stream);

    pool::PoolSession& session_;
    store::EventStore& store_;
    Flusher& flusher_;
    std::mutex mutex_; // of what follows, and of which files are free
    Reaper reaper_{session_, store_};
    int lastTaken_ = 0;
};

} // namespace workstation::service::ring

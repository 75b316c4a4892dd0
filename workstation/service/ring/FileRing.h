// The ring in which routine recordings go round in the pool.
#pragma once

#include <memory>
#include <mutex>

#include "StreamFileAccess.h"
#include "service/ring/RingFile.h"
#include "store/EventStore.h"

namespace workstation::service::ring {

// Free are files without contents. What events hold, what somebody writes, and what the database
// does not know (somebody has put it there) is never taken. May be used from any thread.
class FileRing {
public:
    FileRing(StreamFileAccess& pool, store::EventStore& store)
        : pool_(pool)
        , store_(store) {}

    // An empty file to record the stream into: a free one, else the oldest that may be wiped. Null
    // when there is neither.
    std::unique_ptr<RingFile> Take(int stream);

    // Wipes the oldest files until a tenth of the pool is free, as far as they may be wiped.
    // Returns how many were.
    unsigned int Reap();

private:
    std::unique_ptr<RingFile> TakeFree(int stream);
    bool WipeOldest();
    bool IsFree(int number) const;

    StreamFileAccess& pool_;
    store::EventStore& store_;
    std::mutex mutex_;
    int lastTaken_ = 0;
};

} // namespace workstation::service::ring

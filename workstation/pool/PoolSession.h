// The use that a process makes of the pool, from loading to unloading it.
#pragma once

#include <sys/types.h>

#include <atomic>

#include "pool/ProcessTable.h"

namespace workstation::pool {

class PoolImage;

// A program has one session that registers it in the process table. All operations may be called
// from any thread. When the session is loaded again for another pool (another root, or another
// image in its place), the former pool stays valid until the session is destroyed.
class PoolSession {
public:
    constexpr PoolSession() = default;
    // Unloads. Stream files that were opened in the session must be closed before.
    ~PoolSession();

    PoolSession(PoolSession const&) = delete;
    PoolSession& operator=(PoolSession const&) = delete;

    // Opens the pool of the recorder, unless it is open already, and gives the process a record in
    // the process table. May be repeated. Throws Failure when there is no usable pool. A process
    // table that is full or damaged is not a failure: the process is then not listed, and
    // everything else works.
    void Load(bool registerProcess);

    // Frees the record of the process with everything in it. Safe in a signal handler: it takes no
    // lock and no memory, whatever it interrupts, and may interrupt itself. Stream files that are
    // open stay open.
    void Unload() noexcept;

    // Unloads for good: from now on nothing is registered. For the end of the process, where other
    // threads may still be running.
    void End() noexcept;

    // The loaded pool. Throws Failure (ENOENT) unless one is loaded.
    PoolImage& Pool() const;

    // The same; null unless one is loaded.
    PoolImage* PoolIfLoaded() const;

    // Lists the calling thread as using a stream file; null when there is no room.
    ThreadSlot* ListThread(SlotUse use, int fileNumber);

    // Clears what dead processes left in the process table, and the write controllers of the files
    // that they were writing. Returns how many such processes there were; 0 unless a pool is
    // loaded.
    unsigned Reap();

private:
    // One pool with its process table. Freed with the session only: other threads, or a signal
    // handler, may be using it.
    struct Attachment;

    Attachment& Attach();
    void Register(Attachment& attachment);

    std::atomic<Attachment*> attachment_ = nullptr;
    std::atomic<bool> isLoaded_ = false;
    std::atomic<bool> isEnded_ = false;
    std::atomic<pid_t> registering_ = 0;  // the thread that is registering the process, or 0
    std::atomic<pid_t> registeredAs_ = 0; // 0: not registered; a forked child is not its parent
};

} // namespace workstation::pool

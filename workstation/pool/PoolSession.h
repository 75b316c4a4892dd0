// What this process has to do with the pool.
#pragma once

#include <sys/types.h>

#include <atomic>

#include "Trouble.h"
#include "pool/ProcessTable.h"

namespace workstation::pool {

class PoolImage;

// Exists before any code of the program runs and is never destroyed, so it can be used by static
// objects and by a signal handler at any moment.
class PoolSession {
public:
    static PoolSession& Instance();

    // Opens the pool of the recorder, unless it is open already, and gives the process a record in
    // the process table. Without a record (the table is full or damaged) everything works, the
    // process is just not listed. From any thread, as often as one likes.
    bool Load(bool registerProcess, Trouble& why);

    // Gives back the record of the process with everything in it. Safe in a signal handler: it
    // takes no lock and no memory, whatever it interrupts, and may interrupt itself. Streams that
    // are open stay so.
    void Unload() noexcept;

    // Unload for good: from now on nothing is registered. For the end of the process, where other
    // threads may still be at work.
    void End() noexcept;

    // The pool; null unless it is loaded. It lives as long as the process.
    PoolImage* Pool() const;

    // Lists the calling thread as using a stream file; null when there is no room.
    ThreadSlot* ListThread(SlotUse use, int fileNumber);

    // Clears what dead processes left in the process table. Returns how many there were.
    unsigned Reap();

private:
    // What one pool was opened as. Replaced (by another root, or another pool in its place) but
    // never freed: other threads, or the handler of a signal, may be in the midst of using it.
    struct Attachment;

    Attachment* Attach(Trouble& why);
    void Register(Attachment& attachment);
    static Attachment* MakeAttachment(Attachment* former, Trouble& why);

    std::atomic<Attachment*> attachment_ = nullptr;
    std::atomic<bool> isLoaded_ = false;
    std::atomic<bool> isEnded_ = false;
    std::atomic<pid_t> registering_ = 0;  // the thread that is at it, 0 for none
    std::atomic<pid_t> registeredAs_ = 0; // 0: not registered; a forked child is not its parent
};

// Clears what dead processes left in the process table of the loaded pool.
unsigned ReapDeadProcesses();

} // namespace workstation::pool

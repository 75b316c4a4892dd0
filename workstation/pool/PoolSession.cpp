// The use that a process makes of the pool, from loading to unloading it.
#include "pool/PoolSession.h"

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <mutex>

#include "Failure.h"
#include "Root.h"
#include "pool/PoolImage.h"

namespace workstation::pool {
namespace {

// Held by whatever allocates, registers or reaps. Held over a fork as well, so that the child finds
// it free.
constinit std::mutex mutex;
[[maybe_unused]] int const forkHandlers =
    pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });

// Null when the table cannot be used: then no process is listed.
std::unique_ptr<ProcessTable> OpenProcessTable() {
    try {
        return ProcessTable::Open(ProcessTablePath());
    } catch (Failure const&) {
        return nullptr;
    }
}

} // namespace

struct PoolSession::Attachment {
    std::unique_ptr<PoolImage> pool;
    std::unique_ptr<ProcessTable> processes; // null: no process is listed
    std::unique_ptr<Attachment> former;
};

PoolSession::~PoolSession() {
    Unload();
    delete attachment_.load();
}

void PoolSession::Load(bool registerProcess) {
    std::lock_guard const lock(mutex);
    Attachment& attachment = Attach();
    isLoaded_ = true;
    if (registerProcess) {
        Register(attachment);
    }
}

PoolSession::Attachment& PoolSession::Attach() {
    Attachment* const former = attachment_;
    if (former != nullptr && former->pool->LiesAt(PoolPath())) {
        return *former;
    }
    auto attachment = std::make_unique<Attachment>(
        Attachment{PoolImage::Open(PoolPath()), OpenProcessTable(), {}});
    Unload();
    attachment->former.reset(former);
    attachment_ = attachment.release();
    return *attachment_;
}

void PoolSession::Register(Attachment& attachment) {
    if (attachment.processes == nullptr || registeredAs_ == getpid()) {
        return;
    }
    registering_ = gettid();
    if (!isEnded_) {
        attachment.processes->Register(*attachment.pool);
        registeredAs_ = getpid();
    }
    if (!isLoaded_ || isEnded_) {
        // Unloaded in the meantime, perhaps before there was a record to free.
        attachment.processes->Unregister(*attachment.pool);
        registeredAs_ = 0;
    }
    registering_ = 0;
}

void PoolSession::Unload() noexcept {
    int const error = errno;
    isLoaded_ = false;
    Attachment const* const attachment = attachment_;
    bool const isRegistered = registering_ != 0 || registeredAs_ == getpid();
    if (isRegistered && attachment != nullptr && attachment->processes != nullptr) {
        attachment->processes->Unregister(*attachment->pool);
    }
    registeredAs_ = 0;
    errno = error;
}

void PoolSession::End() noexcept {
    isEnded_ = true;
    // A thread that began to register before undoes it when it sees the end, unless the process
    // ends before that: give it time. When this handler interrupted that very thread, waiting is
    // useless.
    constexpr int patience = 100000;
    pid_t const self = gettid();
    for (int i = 0; i < patience && registering_ != 0 && registering_ != self; ++i) {
        sched_yield();
    }
    Unload();
}

PoolImage& PoolSession::Pool() const {
    PoolImage* const pool = PoolIfLoaded();
    if (pool == nullptr) {
        throw Failure(ENOENT, "no pool is loaded");
    }
    return *pool;
}

PoolImage* PoolSession::PoolIfLoaded() const {
    return isLoaded_ ? attachment_.load()->pool.get() : nullptr;
}

ThreadSlot* PoolSession::ListThread(SlotUse use, int fileNumber) {
    Attachment const* const attachment = attachment_;
    if (!isLoaded_ || attachment->processes == nullptr) {
        return nullptr;
    }
    ThreadSlot* const slot = attachment->processes->Claim(use, fileNumber);
    if (slot != nullptr && !isLoaded_) {
        ProcessTable::Release(*slot, use);
        return nullptr;
    }
    return slot;
}

unsigned PoolSession::Reap() {
    std::lock_guard const lock(mutex);
    Attachment const* const attachment = attachment_;
    if (!isLoaded_ || attachment->processes == nullptr) {
        return 0;
    }
    return attachment->processes->Reap(*attachment->pool);
}

} // namespace workstation::pool

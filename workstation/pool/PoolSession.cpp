// What this process has to do with the pool.
#include "pool/PoolSession.h"

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

#include "Root.h"
#include "pool/PoolImage.h"

namespace workstation::pool {

struct PoolSession::Attachment {
    std::unique_ptr<PoolImage> pool;
    std::unique_ptr<ProcessTable> processes; // null: nobody is listed
    Attachment* former;
};

namespace {

constinit PoolSession session;
static_assert(std::is_trivially_destructible_v<PoolSession>);

// Held by whatever allocates, registers or reaps. Held over a fork as well, so that the child finds
// it free.
constinit std::mutex mutex;
[[maybe_unused]] int const forkHandlers =
    pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });

// A process that ends by exit() leaves no record, not even when another thread is registering it.
struct EndOfProcess {
    ~EndOfProcess() { session.End(); }
} const endOfProcess;

} // namespace

PoolSession& PoolSession::Instance() {
    return session;
}

bool PoolSession::Load(bool registerProcess, Trouble& why) {
    std::lock_guard const lock(mutex);
    Attachment* const attachment = Attach(why);
    if (attachment == nullptr) {
        return false;
    }
    isLoaded_ = true;
    if (registerProcess) {
        Register(*attachment);
    }
    return true;
}

PoolSession::Attachment* PoolSession::Attach(Trouble& why) {
    Attachment* const former = attachment_;
    if (former != nullptr && former->pool->LiesAt(PoolPath())) {
        return former;
    }
    Attachment* const attachment = MakeAttachment(former, why);
    if (attachment != nullptr) {
        Unload();
        attachment_ = attachment;
    }
    return attachment;
}

PoolSession::Attachment* PoolSession::MakeAttachment(Attachment* former, Trouble& why) {
    auto pool = PoolImage::Open(PoolPath(), why);
    if (!pool) {
        return nullptr;
    }
    Trouble unlisted;
    auto processes = ProcessTable::Open(ProcessTablePath(), unlisted);
    return new Attachment{std::move(pool), std::move(processes), former};
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
        // Unloaded in the meantime, perhaps before there was anything to give back.
        attachment.processes->Unregister(*attachment.pool);
        registeredAs_ = 0;
    }
    registering_ = 0;
}

void PoolSession::Unload() noexcept {
    int const error = errno;
    isLoaded_ = false;
    Attachment const* const attachment = attachment_;
    if (attachment != nullptr && attachment->processes != nullptr) {
        attachment->processes->Unregister(*attachment->pool);
    }
    registeredAs_ = 0;
    errno = error;
}

void PoolSession::End() noexcept {
    isEnded_ = true;
    // A thread that was registering before it could know takes back what it does, unless the end
    // of the process is faster. If it is the caller, interrupted, there is nothing to wait for.
    constexpr int patience = 100000;
    pid_t const self = gettid();
    for (int i = 0; i < patience && registering_ != 0 && registering_ != self; ++i) {
        sched_yield();
    }
    Unload();
}

PoolImage* PoolSession::Pool() const {
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

unsigned ReapDeadProcesses() {
    return PoolSession::Instance().Reap();
}

} // namespace workstation::pool

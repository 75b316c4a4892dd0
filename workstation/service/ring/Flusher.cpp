// Makes what recordings write durable.
#include "service/ring/Flusher.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "Failure.h"
#include "log/PlatformLog.h"
#include "service/ring/FileBeingRecorded.h"

namespace workstation::service::ring {

Flusher::Flusher(pool::PoolImage const& image, std::chrono::milliseconds period)
    : pool_(image.OpenDescriptor(O_RDWR, pool::PoolName(image.Path())))
    , period_(period) {}

void Flusher::Start() {
    thread_ = std::jthread([this](std::stop_token const& stop) { Run(stop); });
}

void Flusher::Add(FileBeingRecorded& file) {
    std::lock_guard const lock(mutex_);
    files_.push_back(&file);
}

void Flusher::Remove(FileBeingRecorded& file) {
    std::lock_guard const lock(mutex_);
    std::erase(files_, &file);
}

void Flusher::FlushSoon() {
    std::lock_guard const lock(mutex_);
    isWanted_ = true;
    wake_.notify_one();
}

void Flusher::Flush() {
    std::lock_guard const lock(mutex_);
    FlushFiles();
}

void Flusher::Run(std::stop_token const& stop) {
    std::unique_lock lock(mutex_);
    while (!stop.stop_requested()) {
        heartbeat_.WaitsUntil(supervision::Heartbeat::Clock::now() + period_);
        wake_.wait_for(lock, stop, period_, [this] { return isWanted_; });
        heartbeat_.Works();
        isWanted_ = false;
        FlushFiles();
    }
    heartbeat_.Rests();
}

void Flusher::FlushFiles() {
    std::vector<FileBeingRecorded*> flushed;
    for (FileBeingRecorded* const file : files_) {
        if (file->BeginFlush()) {
            flushed.push_back(file);
        }
    }
    if (flushed.empty()) {
        return;
    }
    try {
        Sync();
    } catch (Failure const& failure) {
        std::size_t lost = 0;
        for (FileBeingRecorded* const file : flushed) {
            lost += file->FlushFailed();
        }
        LogFailure(failure.what(), lost);
        return;
    }
    for (FileBeingRecorded* const file : flushed) {
        file->EndFlush();
    }
    LogSuccess();
}

void Flusher::Sync() const {
    if (fdatasync(pool_.Get()) != 0) {
        throw SystemFailure("cannot make recordings durable");
    }
}

void Flusher::LogFailure(char const* reason, std::size_t lost) {
    lostBytes_ += lost;
    if (!isFailing_) {
        log::LogError(reason);
        SetProblem(reason);
    }
    isFailing_ = true;
}

void Flusher::LogSuccess() {
    if (isFailing_) {
        log::LogNotification("recordings are durable again, " + std::to_string(lostBytes_) +
                                 " bytes were lost",
                             lostBytes_ > 0 ? log::Severity::error : log::Severity::notice);
        SetProblem("");
    }
    isFailing_ = false;
    lostBytes_ = 0;
}

void Flusher::SetProblem(std::string problem) {
    std::lock_guard const lock(problemMutex_);
    problem_ = std::move(problem);
}

std::string Flusher::Problem() const {
    std::lock_guard const lock(problemMutex_);
    return problem_;
}

} // namespace workstation::service::ring

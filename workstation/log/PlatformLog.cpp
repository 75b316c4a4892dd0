// Log entries of the platform and of the service.
#include "log/PlatformLog.h"

#include <sys/timerfd.h>
#include <syslog.h>

#include <chrono>
#include <ctime>
#include <exception>
#include <mutex>
#include <string>
#include <vector>

#include "Failure.h"
#include "LogClient.h"
#include "log/LogEntry.h"
#include "log/LogLevels.h"
#include "log/RepeatFilter.h"

namespace workstation::log {
namespace {

using Clock = std::chrono::steady_clock;

// What holds back the entries of the process.
struct Repeats {
    std::mutex mutex; // of what follows
    RepeatFilter filter;
    int timer = -1; // a timerfd that runs until something is due; -1: nothing is held back
};

Repeats& TheRepeats() {
    static auto* const repeats = new Repeats; // threads may log until the process has ended
    return *repeats;
}

// Sets the timer to the time when something is due.
void SetTimer(Repeats const& repeats) {
    auto const due = repeats.filter.Due();
    auto const time = due ? due->time_since_epoch() : Clock::duration(0); // 0 stops it
    auto const wholeSeconds = std::chrono::floor<std::chrono::seconds>(time);
    itimerspec const setting{
        {},
        {static_cast<std::time_t>(wholeSeconds.count()),
         static_cast<long>(std::chrono::nanoseconds(time - wholeSeconds).count())}};
    timerfd_settime(repeats.timer, TFD_TIMER_ABSTIME, &setting, nullptr);
}

int PriorityOf(Severity severity) {
    switch (severity) {
    case Severity::error:
        return LOG_ERR;
    case Severity::warning:
        return LOG_WARNING;
    case Severity::notice:
        return LOG_NOTICE;
    case Severity::info:
        break;
    }
    return LOG_INFO;
}

// An entry that cannot be written is lost, and never ends the process.
void Write(std::string const& text, int priority) {
    try {
        WriteLogEntry({priority, LogClient::Instance()->ProcessName(), text});
    } catch (std::exception const&) {
    }
}

bool IsLogged(unsigned int level) {
    return (LogClient::Instance()->Level() & level) != 0;
}

bool Passes(std::string const& text, int priority) {
    Repeats& repeats = TheRepeats();
    std::lock_guard const lock(repeats.mutex);
    if (repeats.timer == -1 || repeats.filter.Passes(text, priority, Clock::now())) {
        return true;
    }
    SetTimer(repeats);
    return false;
}

void Write(std::vector<RepeatFilter::Summary> const& summaries) {
    for (RepeatFilter::Summary const& summary : summaries) {
        Write(summary.text, summary.priority);
    }
}

} // namespace

void LogNotification(std::string_view text, Severity severity) {
    if (!IsLogged(errorsAndNotifications)) {
        return;
    }
    int const priority = PriorityOf(severity);
    std::string const entry(text);
    if (priority > LOG_WARNING || Passes(entry, priority)) {
        Write(entry, priority);
    }
}

void LogNote(std::string_view text) {
    if (IsLogged(notes)) {
        Write(std::string(text), LOG_INFO);
    }
}

HeldBackRepeats::HeldBackRepeats()
    : timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (!timer_) {
        throw SystemFailure("timerfd_create");
    }
    Repeats& repeats = TheRepeats();
    std::lock_guard const lock(repeats.mutex);
    repeats.timer = timer_.Get();
}

HeldBackRepeats::~HeldBackRepeats() {
    WriteAll();
    Repeats& repeats = TheRepeats();
    std::lock_guard const lock(repeats.mutex);
    repeats.filter = {};
    repeats.timer = -1;
}

void HeldBackRepeats::WriteAll() {
    Repeats& repeats = TheRepeats();
    std::lock_guard const lock(repeats.mutex);
    Write(repeats.filter.TakeAll(Clock::now()));
}

void HeldBackRepeats::WriteDue() {
    Repeats& repeats = TheRepeats();
    std::lock_guard const lock(repeats.mutex);
    Write(repeats.filter.TakeDue(Clock::now()));
    SetTimer(repeats);
}

} // namespace workstation::log

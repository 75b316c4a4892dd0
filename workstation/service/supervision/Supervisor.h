// Shows the service manager how the service is doing.
#pragma once

#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "service/supervision/Heartbeat.h"
#include "service/supervision/ServiceManager.h"

namespace workstation::service::supervision {

struct WatchedThread {
    std::string name; // as the log names it
    Heartbeat const& heartbeat;
};

// For the main loop, which calls Report each time that it goes round, and at the latest after
// WaitMs. So the service manager gets a sign of life, twice in the time that it has set, only while
// the main loop goes round and no thread is stuck. A thread is stuck when it has been with the same
// operation for longer than that time; waiting for a source, a free slot, the next try or the next
// flush is no such operation. One line in the log says so, and one when the thread goes on.
class Supervisor {
public:
    using Clock = Heartbeat::Clock;
    using Time = Heartbeat::Time;

    // `threads` are those that run; `status` says what the service does, in one line. Neither is
    // called when no service manager listens.
    Supervisor(ServiceManager manager, std::function<std::vector<WatchedThread>()> threads,
               std::function<std::string()> status);

    ServiceManager const& Manager() const { return manager_; }

    // Sends what is due: the status line when it differs from the one that was sent last, at most
    // once a second, and the sign of life.
    void Report(Time now);

    // The milliseconds until Report has something to do; -1 when it has not.
    int WaitMs(Time now) const;

private:
    void ReportStatus(Time now);
    void ReportLife(Time now);
    bool AreStuck(Time now);

    ServiceManager manager_;
    std::function<std::vector<WatchedThread>()> threads_;
    std::function<std::string()> status_;
    std::string sentStatus_;
    Time nextStatus_ = Time::min();
    bool mayHaveChanged_ = false; // the status line, before nextStatus_
    Time nextSign_ = Time::min();
    std::set<std::string> stuck_; // names of threads
};

} // namespace workstation::service::supervision

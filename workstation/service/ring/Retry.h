// Repeats what fails in a recording until it succeeds.
#pragma once

#include <chrono>
#include <exception>
#include <string>

#include "service/recording/StopEvent.h"
#include "service/ring/StreamLog.h"

namespace workstation::service::ring {

// For a recording of a stream whose file, disk or database cannot be used for a while.
class Retry {
public:
    // `stop` outlives the object.
    Retry(int stream, recording::StopEvent const& stop)
        : stream_(stream)
        , stop_(stop) {}

    // Calls `operation` until it does not throw, and returns its result. Logs "cannot WHAT: REASON"
    // once, for the first failure. When the recording is to stop, throws what the operation threw
    // last.
    template <typename Operation>
    auto Insist(std::string const& what, Operation operation) const {
        for (bool isFirst = true;; isFirst = false) {
            try {
                return operation();
            } catch (std::exception const& failure) {
                if (isFirst) {
                    LogForStream(stream_, "cannot " + what + ": " + failure.what());
                }
                if (!WaitForNextTry()) {
                    throw;
                }
            }
        }
    }

    // Waits for as long as is usual between two tries. False when the recording is to stop.
    bool WaitForNextTry() const { return !stop_.WaitFor(std::chrono::milliseconds(250)); }

private:
    int stream_;
    recording::StopEvent const& stop_;
};

} // namespace workstation::service::ring

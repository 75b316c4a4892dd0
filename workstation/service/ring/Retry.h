// Repeats what fails in a recording until it succeeds.
#pragma once

#include <chrono>
#include <exception>
#include <string>

#include "service/recording/RecordingStatus.h"
#include "service/recording/StopEvent.h"
#include "service/ring/StreamLog.h"

namespace workstation::service::ring {

// For a recording of a stream whose file, disk or database cannot be used for a while.
class Retry {
public:
    // What is passed by reference outlives the object.
    Retry(int stream, recording::StopEvent const& stop, recording::RecordingStatus& status)
        : stream_(stream)
        , stop_(stop)
        , status_(status) {}

    // Calls `operation` until it does not throw, and returns its result. Logs "cannot WHAT: REASON"
    // once, for the first failure; it is the recording's problem until the operation succeeds. When
    // the recording is to stop, throws what the operation threw last.
    template <typename Operation>
    auto Insist(std::string const& what, Operation operation) const {
        Problem problem(*this);
        for (;;) {
            try {
                return operation();
            } catch (std::exception const& failure) {
                problem.Is("cannot " + what + ": " + failure.what());
                if (!WaitForNextTry()) {
                    throw;
                }
            }
        }
    }

    // What keeps the recording from going on while the object lives.
    class Problem {
    public:
        // `retry` outlives the object.
        explicit Problem(Retry const& retry)
            : retry_(retry) {}
        ~Problem() {
            if (isKnown_) {
                retry_.status_.HasProblem("");
            }
        }
        Problem(Problem const&) = delete;
        Problem& operator=(Problem const&) = delete;

        // Shows it in the status, and logs it the first time.
        void Is(std::string const& text) {
            if (!isKnown_) {
                isKnown_ = true;
                LogForStream(retry_.stream_, text, log::Severity::error);
            }
            retry_.status_.HasProblem(text);
        }

    private:
        Retry const& retry_;
        bool isKnown_ = false;
    };

    // Waits for as long as is usual between two tries. False when the recording is to stop.
    bool WaitForNextTry() const { return !stop_.WaitFor(std::chrono::milliseconds(250)); }

private:
    int stream_;
    recording::StopEvent const& stop_;
    recording::RecordingStatus& status_;
};

} // namespace workstation::service::ring

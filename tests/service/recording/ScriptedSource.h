// A live source that a test writes down in advance.
#pragma once

#include <algorithm>
#include <deque>
#include <utility>

#include "Failure.h"
#include "service/recording/DamagedStream.h"
#include "service/recording/Fakes.h"
#include "service/recording/Source.h"

namespace recording_test {

// Each beginning delivers what is scripted for it. After the last one the recording is to stop.
class ScriptedSource : public workstation::service::recording::Source {
public:
    ScriptedSource(FakeClock& clock, workstation::service::recording::StopEvent& stop)
        : clock_(clock)
        , stop_(stop) {}

    // A beginning that fails, with that reason.
    ScriptedSource& CannotBegin(std::string const& reason) {
        return Add({Cause::beginning, {}, reason});
    }
    // A beginning that delivers the bytes and then ends, fails, or delivers nothing any more.
    ScriptedSource& Ends(Bytes const& bytes) { return Add({Cause::end, bytes, ""}); }
    ScriptedSource& Fails(Bytes const& bytes, std::string const& reason) {
        return Add({Cause::failure, bytes, reason});
    }
    ScriptedSource& FallsSilent(Bytes const& bytes) { return Add({Cause::silence, bytes, ""}); }
    // A beginning that delivers other bytes than packets without end, some each second.
    ScriptedSource& DeliversGarbage() { return Add({Cause::garbage, {}, ""}); }

    // When it was begun, counted from the start of the clock.
    std::vector<std::chrono::milliseconds> const& Beginnings() const { return beginnings_; }

    // What it prints before it ends each time.
    void Prints(std::vector<std::string> words) { words_ = std::move(words); }

    Kind GetKind() const override { return Kind::live; }
    std::vector<std::string> LastWords() const override { return words_; }

    void Begin() override {
        beginnings_.push_back(
            std::chrono::duration_cast<std::chrono::milliseconds>(clock_.Passed()));
        if (hasBegun_ && !script_.empty()) {
            script_.pop_front();
        }
        hasBegun_ = true;
        if (!script_.empty() && script_.front().cause == Cause::beginning) {
            throw workstation::Failure(EIO, script_.front().reason);
        }
    }

    Result Read(std::span<unsigned char> room, int timeoutMs) override {
        if (script_.empty()) {
            stop_.Set();
        }
        if (stop_.IsSet()) {
            return {Outcome::stopped};
        }
        Beginning& now = script_.front();
        if (!now.bytes.empty()) {
            return Deliver(now.bytes, room);
        }
        switch (now.cause) {
        case Cause::end:
            return {Outcome::end};
        case Cause::garbage:
            clock_.Advance(std::chrono::seconds(1));
            std::ranges::fill(room.first(1000), static_cast<unsigned char>(1));
            return {Outcome::bytes, 1000};
        case Cause::silence:
            EXPECT_GE(timeoutMs, 0) << "silence is waited for without a limit";
            clock_.Advance(std::chrono::milliseconds(timeoutMs));
            return {Outcome::timeout};
        case Cause::failure:
        case Cause::beginning:
            break;
        }
        throw workstation::Failure(EIO, now.reason);
    }

private:
    enum class Cause { beginning, end, failure, silence, garbage };
    struct Beginning {
        Cause cause;
        Bytes bytes;
        std::string reason;
    };

    ScriptedSource& Add(Beginning beginning) {
        script_.push_back(std::move(beginning));
        return *this;
    }
    static Result Deliver(Bytes& bytes, std::span<unsigned char> room) {
        std::size_t const size = std::min(bytes.size(), room.size());
        auto const end = bytes.begin() + static_cast<std::ptrdiff_t>(size);
        std::copy(bytes.begin(), end, room.begin());
        bytes.erase(bytes.begin(), end);
        return {Outcome::bytes, size};
    }

    FakeClock& clock_;
    workstation::service::recording::StopEvent& stop_;
    std::deque<Beginning> script_;
    std::vector<std::chrono::milliseconds> beginnings_;
    std::vector<std::string> words_;
    bool hasBegun_ = false;
};

} // namespace recording_test

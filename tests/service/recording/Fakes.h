// The clock, the ticks and the target of a recording, for tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingTarget.h"
#include "service/recording/TickSource.h"
#include "ts/TsPacket.h"

namespace recording_test {

// Time passes only where something waits for it, or where a test lets it.
class FakeClock : public workstation::service::recording::RecordingClock {
public:
    Time Now() const override { return now_; }
    WallTime WallNow() const override { return wallNow_; }
    void WaitUntil(Time time) override {
        waits_.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(time - start_));
        Advance(time - now_);
    }

    void Advance(Time::duration duration) {
        now_ += duration;
        wallNow_ += std::chrono::duration_cast<WallTime::duration>(duration);
    }
    void SetWall(WallTime wallNow) { wallNow_ = wallNow; }

    // The times that were waited for, counted from the start.
    std::vector<std::chrono::milliseconds> const& Waits() const { return waits_; }

    Time::duration Passed() const { return now_ - start_; }

private:
    Time const start_ = Time() + std::chrono::hours(1);
    Time now_ = start_;
    WallTime wallNow_ = WallTime() + std::chrono::seconds(1000000);
    std::vector<std::chrono::milliseconds> waits_;
};

// Reserves numbers as the service does, and counts the reservations.
class FakeTicks : public workstation::service::recording::TickSource {
public:
    explicit FakeTicks(std::uint32_t first)
        : next_(first) {}

    std::uint32_t ReserveTicks(std::uint32_t count) override {
        if (fails_) {
            throw std::runtime_error("no ticks");
        }
        ++reservations_;
        std::uint32_t const first = next_;
        next_ += count;
        return first;
    }
    void ReturnTicks(std::uint32_t next) override {
        EXPECT_FALSE(wereReturned_);
        wereReturned_ = true;
        next_ = next;
    }

    void Fail() { fails_ = true; }
    std::uint32_t Next() const { return next_; }
    int Reservations() const { return reservations_; }
    bool WereReturned() const { return wereReturned_; }

private:
    std::uint32_t next_;
    int reservations_ = 0;
    bool wereReturned_ = false;
    bool fails_ = false;
};

// Keeps what is recorded. During the recording only Calls and Await may be called.
class FakeTarget : public workstation::service::recording::RecordingTarget {
public:
    // `stop` ends what a test lets the target wait for.
    explicit FakeTarget(workstation::service::recording::StopEvent const& stop)
        : stop_(stop) {}

    void Begin() override {
        if (failsToBegin_) {
            throw std::runtime_error("no disk");
        }
        Note("begin");
        Wait(waitsToBegin_);
    }
    void Write(workstation::service::recording::TickedPackets const& packets) override {
        EXPECT_FALSE(packets.bytes.empty());
        for (auto const& tick : packets.ticks) {
            ticks_.push_back({bytes_.size() + tick.offset, tick.stamp});
        }
        bytes_.insert(bytes_.end(), packets.bytes.begin(), packets.bytes.end());
        writes_.push_back(packets.bytes.size());
        Note("write");
        onWrite_();
        Wait(waitsToWrite_);
    }
    void End() override { Note("end"); }

    // Before the recording.
    void WaitToBegin() { waitsToBegin_ = true; }
    void FailToBegin() { failsToBegin_ = true; }
    void WaitToWrite() { waitsToWrite_ = true; }
    void OnWrite(std::function<void()> action) { onWrite_ = std::move(action); }

    // After the recording.
    std::vector<unsigned char> const& Bytes() const { return bytes_; }
    std::vector<workstation::service::recording::PlacedTick> const& Ticks() const { return ticks_; }
    std::vector<unsigned char> Packets() const { // without the ticks
        std::vector<unsigned char> packets = bytes_;
        for (auto tick = ticks_.rbegin(); tick != ticks_.rend(); ++tick) {
            auto const begin = packets.begin() + static_cast<std::ptrdiff_t>(tick->offset);
            packets.erase(begin, begin + workstation::ts::tsPacketSize);
        }
        return packets;
    }
    std::vector<std::size_t> const& Writes() const { return writes_; }

    // "begin write*3 end"
    std::string Calls() {
        std::lock_guard const lock(mutex_);
        std::string text;
        for (std::size_t i = 0; i < calls_.size();) {
            auto const end =
                std::find_if(calls_.begin() + static_cast<std::ptrdiff_t>(i), calls_.end(),
                             [&](auto const& call) { return call != calls_[i]; });
            auto const next = static_cast<std::size_t>(end - calls_.begin());
            text += (text.empty() ? "" : " ") + calls_[i];
            text += next - i > 1 ? "*" + std::to_string(next - i) : "";
            i = next;
        }
        return text;
    }

    // Waits until that call has been made.
    void Await(std::string const& call) {
        std::unique_lock lock(mutex_);
        bool const came = changed_.wait_for(lock, std::chrono::seconds(60),
                                            [&] { return std::ranges::count(calls_, call) > 0; });
        ASSERT_TRUE(came) << "no call of " << call;
    }

private:
    void Note(std::string const& call) {
        std::lock_guard const lock(mutex_);
        calls_.push_back(call);
        changed_.notify_all();
    }
    void Wait(bool waits) const {
        if (waits) {
            EXPECT_TRUE(stop_.WaitFor(std::chrono::seconds(60)));
        }
    }

    workstation::service::recording::StopEvent const& stop_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> calls_;
    std::vector<unsigned char> bytes_;
    std::vector<workstation::service::recording::PlacedTick> ticks_;
    std::vector<std::size_t> writes_;
    bool failsToBegin_ = false;
    bool waitsToBegin_ = false;
    bool waitsToWrite_ = false;
    std::function<void()> onWrite_ = [] {};
};

} // namespace recording_test

// A live source that goes is begun again, in one recording.
#include <gtest/gtest.h>

#include "service/recording/Recording.h"
#include "service/recording/ScriptedSource.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::recording;
using namespace std::chrono_literals;

using Lines = std::vector<std::string>;
using Beginnings = std::vector<std::chrono::milliseconds>;

constexpr std::uint64_t ms = ts::PcrClock::unitsPerSecond / 1000;

// Packets with a PCR each 40 ms from a PCR on, in a PID.
Bytes TimedPackets(unsigned int pcrCount, std::uint64_t first = 0, unsigned int pid = 0x100) {
    Bytes bytes;
    for (unsigned int i = 0; i < pcrCount; ++i) {
        Bytes packet = ts_test::PcrPacket(first + 40 * ms * i);
        packet[1] = static_cast<unsigned char>((packet[1] & 0xE0U) | pid >> 8U);
        packet[2] = static_cast<unsigned char>(pid);
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }
    return bytes;
}

class LiveRecordingTest : public testing::Test {
protected:
    void Record() {
        Recording(
            {2, "/dev/camera"}, target_, ticks_, clock_,
            [this](std::string const& text, workstation::log::Severity severity) {
                lines_.push_back(text);
                severities_.push_back(severity);
            },
            stop_, status_)
            .Run(source_);
    }
    // The ticks are numbered without a gap, and their times never go back.
    void CheckTicks() const {
        std::uint32_t number = 500;
        int time = 0;
        for (PlacedTick const& tick : target_.Ticks()) {
            EXPECT_EQ(tick.stamp.tick, number++);
            EXPECT_GE(tick.stamp.time, time);
            time = tick.stamp.time;
        }
        EXPECT_EQ(ticks_.Next(), number);
    }
    static std::string Gone(std::string const& reason) {
        return "stream 2: '/dev/camera' is gone: " + reason + "; trying again";
    }

    std::string const back_ = "stream 2: '/dev/camera' is back";
    StopEvent stop_;
    RecordingStatus status_{{2, "/dev/camera"}};
    FakeClock clock_;
    FakeTicks ticks_{500};
    FakeTarget target_{stop_};
    ScriptedSource source_{clock_, stop_};
    Lines lines_;
    std::vector<workstation::log::Severity> severities_; // of the lines
};

TEST_F(LiveRecordingTest, SourceThatEndsGoesOnInTheSameRecording) {
    Bytes const first = TimedPackets(100);
    Bytes const second = TimedPackets(100, 4000 * ms);
    source_.Ends(first).Ends(second);
    Record();
    EXPECT_EQ(lines_, Lines({Gone("it has ended"), back_, Gone("it has ended")}));
    EXPECT_EQ(source_.Beginnings(), (Beginnings{0s, 1s, 2s}));
    EXPECT_EQ(target_.Calls(), "begin write*2 end");
    Bytes both = first;
    both.insert(both.end(), second.begin(), second.end());
    EXPECT_EQ(target_.Packets(), both);
    CheckTicks();
}

TEST_F(LiveRecordingTest, GapShowsInTheTimesOfTheTicks) {
    source_.Fails(TimedPackets(10), "Input/output error");
    for (int i = 0; i < 3; ++i) {
        source_.CannotBegin("No such device");
    }
    source_.Ends(TimedPackets(10, 400 * ms));
    Record();
    std::vector<int> times;
    for (PlacedTick const& tick : target_.Ticks()) {
        times.push_back(tick.stamp.time);
    }
    // Each time 360 ms of the stream's clock; 1 + 2 + 4 + 8 seconds lie between.
    EXPECT_EQ(times, (std::vector<int>{1000000, 1000000, 1000000, 1000000, 1000000, 1000000,
                                       1000000, 1000000, 1000015, 1000015, 1000015, 1000015,
                                       1000015, 1000015, 1000015, 1000015}));
    CheckTicks();
}

TEST_F(LiveRecordingTest, WaitsDoubleUpToEightSecondsAndBeginAgainAfterPackets) {
    for (int i = 0; i < 6; ++i) {
        source_.CannotBegin("No such device");
    }
    source_.Ends(TimedPackets(30)).Ends({}).Ends({});
    Record();
    EXPECT_EQ(source_.Beginnings(), (Beginnings{0s, 1s, 3s, 7s, 15s, 23s, 31s, 32s, 34s, 38s}));
    EXPECT_EQ(lines_, Lines({Gone("No such device"), back_, Gone("it has ended")}));
}

TEST_F(LiveRecordingTest, SilenceOfTenSecondsIsReportedAndTheSourceBegunAtOnce) {
    Bytes const packets = TimedPackets(30);
    source_.FallsSilent({}).FallsSilent(packets).FallsSilent({}).Ends(packets);
    Record();
    EXPECT_EQ(source_.Beginnings(), (Beginnings{0s, 10s, 20s, 30s, 31s}));
    EXPECT_EQ(lines_, Lines({Gone("no packet for 10 s"), back_, Gone("no packet for 10 s"), back_,
                             Gone("it has ended")}));
    Bytes both = packets;
    both.insert(both.end(), packets.begin(), packets.end());
    EXPECT_EQ(target_.Packets(), both);
    CheckTicks();
}

TEST_F(LiveRecordingTest, PacketsBeforeASilenceAreWrittenSoon) {
    RecordingClock::Time::duration written{};
    target_.OnWrite([&] {
        if (target_.Writes().size() == 1) {
            written = clock_.Passed();
        }
    });
    source_.FallsSilent(TimedPackets(100));
    Record();
    EXPECT_EQ(written, 100ms);
}

TEST_F(LiveRecordingTest, GarbageIsSilence) {
    source_.DeliversGarbage().Ends(TimedPackets(30));
    Record();
    EXPECT_EQ(source_.Beginnings(), (Beginnings{0s, 10s, 11s}));
    EXPECT_EQ(lines_,
              Lines({Gone("no packet for 10 s"), "stream 2: found sync, 10000 bytes dropped", back_,
                     Gone("it has ended")}));
    EXPECT_EQ(target_.Packets(), TimedPackets(30));
}

TEST_F(LiveRecordingTest, SourceThatComesBackWithAnotherPidAndClockHasATickAtOnce) {
    source_.Ends(TimedPackets(26)).Ends(TimedPackets(26, 999999 * ms, 0x200));
    Record();
    CheckTicks();
    auto const& ticks = target_.Ticks();
    auto const first =
        std::ranges::find(ticks, 1000001, [](auto& tick) { return tick.stamp.time; });
    auto const before = first - ticks.begin();
    EXPECT_EQ(before, ticks.end() - first); // about 20 in each second
    EXPECT_EQ(first->offset, static_cast<std::size_t>(26 + before) * ts::tsPacketSize);
}

TEST_F(LiveRecordingTest, SourceThatDeliversTooMuchHasTheTicksOfASecondBeforeItGoes) {
    source_.Ends(TimedPackets(501)).Ends(TimedPackets(26, 0, 0x200));
    Record();
    CheckTicks();
    EXPECT_NEAR(static_cast<double>(target_.Ticks().size()), 2 * 20, 2);
    EXPECT_EQ(target_.Ticks().back().stamp.time, 1000001);
}

TEST_F(LiveRecordingTest, SourceThatNeverComesBeginsNoRecording) {
    source_.CannotBegin("No such device");
    Record();
    EXPECT_EQ(lines_, Lines({Gone("No such device")}));
    EXPECT_EQ(target_.Calls(), "");
    EXPECT_EQ(ticks_.Reservations(), 0);
}

TEST_F(LiveRecordingTest, LastWordsAreReportedOnceBeforeTheSourceIsGone) {
    source_.Prints({"no route", "giving up"});
    source_.Ends({}).Ends({}).FallsSilent({});
    Record();
    EXPECT_EQ(lines_, Lines({"stream 2: '/dev/camera': no route",
                             "stream 2: '/dev/camera': giving up", Gone("it has ended")}));
}

TEST_F(LiveRecordingTest, CutPacketsAroundAGapAreLeftOut) {
    Bytes const whole = TimedPackets(30);
    Bytes cutAtEnd = whole;
    cutAtEnd.resize(cutAtEnd.size() + 100, ts::tsSyncByte);
    Bytes cutAtBegin(whole.begin() + 100, whole.end());
    source_.Ends(cutAtEnd).Ends(cutAtBegin);
    Record();
    Bytes expected = whole;
    expected.insert(expected.end(), whole.begin() + ts::tsPacketSize, whole.end());
    EXPECT_EQ(target_.Packets(), expected);
    CheckTicks();
}

TEST_F(LiveRecordingTest, FailedWriteEndsTheRecording) {
    target_.OnWrite([] { throw std::runtime_error("the disk is gone"); });
    source_.Ends(TimedPackets(2000)).Ends(TimedPackets(2000));
    Record();
    EXPECT_EQ(lines_, Lines({"stream 2: recording failed: the disk is gone"}));
}

TEST_F(LiveRecordingTest, SourceThatGoesIsAWarningAndItsReturnIsNone) {
    using workstation::log::Severity;
    source_.Prints({"last words"});
    source_.Ends(TimedPackets(10)).Ends(TimedPackets(10));
    Record();
    EXPECT_EQ(severities_, (std::vector{Severity::warning, Severity::warning, Severity::notice,
                                        Severity::warning, Severity::warning}));
}

} // namespace

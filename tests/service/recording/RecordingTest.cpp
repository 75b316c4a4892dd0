// Sources of all kinds are recorded, and their faults are reported.
#include "service/recording/Recording.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>

#include "service/recording/DamagedStream.h"
#include "service/recording/Fakes.h"
#include "service/recording/TestDirectory.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::recording;
using namespace std::chrono_literals;

using Lines = std::vector<std::string>;

constexpr std::uint64_t ms = ts::PcrClock::unitsPerSecond / 1000;
constexpr unsigned int packetsPerPcr = 20;

// A PCR each 40 ms, from 0 on.
DamagedStream TimedStream(unsigned int pcrCount) {
    DamagedStream stream;
    for (unsigned int i = 0; i < pcrCount; ++i) {
        stream.Good(ts_test::PcrPacket(40 * ms * i)).Good(packetsPerPcr - 1);
    }
    return stream;
}

Bytes operator+(Bytes first, Bytes const& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

class RecordingTest : public testing::Test {
protected:
    void Record(RecordingSettings settings) {
        settings.stream = 2;
        Recording(
            settings, target_, ticks_, clock_,
            [this](std::string const& text, workstation::log::Severity) { lines_.push_back(text); },
            stop_, status_)
            .Run();
    }
    void RecordFast(std::string const& source) { Record({2, source, true}); }
    // Stops the recording when it is longer than that.
    void StopBehind(std::size_t size) {
        target_.OnWrite([this, size] {
            if (target_.Bytes().size() > size) {
                stop_.Set();
            }
        });
    }
    std::string Clip(Bytes const& bytes) const { return directory_.Write("clip.ts", bytes); }

    // The recording contains the ticks that the target was given, numbered without a gap.
    void CheckTicks() const {
        ts_test::Ticks told;
        for (PlacedTick const& tick : target_.Ticks()) {
            told.emplace_back(static_cast<unsigned int>(tick.offset), tick.stamp.tick);
        }
        EXPECT_EQ(ts_test::Find(target_.Bytes()), told);
        for (std::size_t i = 0; i < told.size(); ++i) {
            EXPECT_EQ(told[i].second, 500 + i);
        }
    }
    std::string Line(std::string const& text) const {
        return "stream 2: '" + directory_.Path("clip.ts") + "' " + text;
    }

    TestDirectory directory_;
    StopEvent stop_;
    RecordingStatus status_{{2, ""}};
    FakeClock clock_;
    FakeTicks ticks_{500};
    FakeTarget target_{stop_};
    Lines lines_;
};

TEST_F(RecordingTest, FileIsRecordedFast) {
    auto const stream = TimedStream(126); // 5 s and a PCR
    RecordFast(Clip(stream.All()));
    EXPECT_EQ(target_.Packets(), stream.All());
    CheckTicks();
    EXPECT_EQ(target_.Ticks().size(), 101U);
    EXPECT_EQ(target_.Ticks().front().offset, 0U);
    EXPECT_EQ(target_.Ticks().front().stamp.time, 1000000);
    EXPECT_EQ(target_.Ticks().back().stamp.time, 1000005);
    EXPECT_EQ(target_.Calls(), "begin write*3 end");
    EXPECT_EQ(clock_.Passed(), 0ns);
    EXPECT_TRUE(ticks_.WereReturned());
    EXPECT_EQ(ticks_.Next(), 601U);
    EXPECT_EQ(lines_, Lines({Line("has ended, 2520 packets recorded, 0 bytes dropped")}));
}

TEST_F(RecordingTest, FileIsRecordedInRealTimeAndWrittenSoon) {
    auto const stream = TimedStream(126);
    Record({2, Clip(stream.All())});
    EXPECT_EQ(target_.Packets(), stream.All());
    CheckTicks();
    EXPECT_EQ(clock_.Passed(), 5000ms);
    EXPECT_EQ(target_.Writes().size(), 42U); // one in 120 ms, with three PCRs
    EXPECT_EQ(*std::ranges::max_element(target_.Writes()),
              (3 * packetsPerPcr + 3) * ts::tsPacketSize);
}

TEST_F(RecordingTest, PacketsDoNotWaitForADistantPcrToBeWritten) {
    DamagedStream stream;
    stream.Good(ts_test::PcrPacket(0)).Good(5).Good(ts_test::PcrPacket(900 * ms)).Good(5);
    Record({2, Clip(stream.All())});
    EXPECT_EQ(clock_.Waits(), (std::vector<std::chrono::milliseconds>{100ms, 900ms}));
    EXPECT_EQ(target_.Calls(), "begin write*2 end");
    EXPECT_EQ(target_.Packets(), stream.All());
}

TEST_F(RecordingTest, StandardInputIsTakenAsItComes) {
    auto const stream = TimedStream(126);
    StandardInput const input(Clip(stream.All()));
    Record({2, "-"});
    EXPECT_EQ(target_.Packets(), stream.All());
    EXPECT_EQ(clock_.Passed(), 0ns);
    EXPECT_EQ(lines_, Lines({"stream 2: standard input has ended, 2520 packets recorded, 0 bytes "
                             "dropped"}));
}

TEST_F(RecordingTest, LoopGoesOnInTheSameRecordingUntilItIsStopped) {
    auto const stream = TimedStream(51);
    StopBehind(3 * stream.All().size());
    Record({2, Clip(stream.All()), true, true});
    Bytes const packets = target_.Packets();
    Bytes repeated;
    while (repeated.size() < packets.size()) {
        repeated = repeated + stream.All();
    }
    repeated.resize(packets.size());
    EXPECT_EQ(packets, repeated);
    CheckTicks();
    EXPECT_EQ(target_.Calls().substr(0, 12), "begin write*");
    EXPECT_EQ(ticks_.Next(), 500 + target_.Ticks().size());
    EXPECT_EQ(lines_, Lines());
}

TEST_F(RecordingTest, LoopInRealTimeTakesItsTime) {
    auto const stream = TimedStream(51);
    StopBehind(3 * stream.All().size());
    Record({2, Clip(stream.All()), false, true});
    EXPECT_GE(clock_.Passed(), 5700ms);
    EXPECT_LE(clock_.Passed(), 6500ms);
    CheckTicks();
}

TEST_F(RecordingTest, LoopIsOnlyForFiles) {
    auto const stream = TimedStream(10);
    StandardInput const input(Clip(stream.All()));
    Record({2, "-", false, true});
    EXPECT_EQ(target_.Packets(), stream.All());
}

TEST_F(RecordingTest, DamagedLoopDoesNotFloodTheLog) {
    auto const clip = TimedStream(10).Bad(Garbage(500)).Good(50).BadCut(100).All();
    StopBehind(20 * clip.size());
    Record({2, Clip(clip), true, true});
    EXPECT_EQ(lines_, Lines({"stream 2: lost sync and found it again, 500 bytes dropped",
                             Line("stops in a packet")}));
    CheckTicks();
}

TEST_F(RecordingTest, SourceThatDoesNotExistIsReported) {
    RecordFast(directory_.Path("clip.ts"));
    EXPECT_EQ(lines_, Lines({"stream 2: cannot open '" + directory_.Path("clip.ts") +
                             "': No such file or directory"}));
    EXPECT_EQ(target_.Calls(), "");
}

TEST_F(RecordingTest, SourceThatCannotBeReadIsReported) {
    RecordFast("/proc/self/mem"); // nothing is at address 0
    EXPECT_EQ(lines_, Lines({"stream 2: cannot read '/proc/self/mem': Input/output error"}));
    EXPECT_EQ(target_.Calls(), "");
}

TEST_F(RecordingTest, PacketsBeforeAFailureToReadAreRecorded) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    FileDescriptor sender(ends[0]);
    FileDescriptor const receiver(ends[1]);
    auto const stream = DamagedStream().Good(100);
    ASSERT_EQ(write(sender.Get(), stream.All().data(), stream.All().size()),
              static_cast<ssize_t>(stream.All().size()));
    ASSERT_EQ(write(receiver.Get(), "x", 1), 1); // closing with unread bytes resets the connection
    sender.Reset();
    StandardInput const input(receiver);
    RecordFast("-");
    EXPECT_EQ(target_.Packets(), stream.All());
    EXPECT_EQ(lines_, Lines({"stream 2: cannot read standard input: Connection reset by peer"}));
    EXPECT_EQ(target_.Calls(), "begin write end");
}

TEST_F(RecordingTest, FileThatIsNoTransportStreamBeginsNoRecording) {
    for (Bytes const& bytes : {Bytes(), Garbage(1), Garbage(300000), Bytes(300000)}) {
        lines_.clear();
        RecordFast(Clip(bytes));
        EXPECT_EQ(lines_, Lines({Line("is no transport stream")}));
    }
    EXPECT_EQ(target_.Calls(), "");
    EXPECT_EQ(ticks_.Reservations(), 0);
}

TEST_F(RecordingTest, LoopOfNoTransportStreamEnds) {
    Record({2, Clip(Garbage(300000)), true, true});
    EXPECT_EQ(lines_, Lines({Line("is no transport stream")}));
}

TEST_F(RecordingTest, LoopOfAFileThatBecomesEmptyEnds) {
    auto const path = Clip(TimedStream(51).All());
    target_.OnWrite([&] { std::filesystem::resize_file(path, 0); });
    Record({2, path, true, true});
    EXPECT_EQ(lines_, Lines({Line("has ended, 1020 packets recorded, 0 bytes dropped")}));
}

TEST_F(RecordingTest, MebibyteWithoutAPacketIsReportedAndSearchedOnSlowly) {
    auto const stream = DamagedStream().Bad(Garbage(4 << 20)).Good(100);
    RecordFast(Clip(stream.All()));
    EXPECT_EQ(target_.Packets(), stream.Found());
    EXPECT_GT(clock_.Passed(), 100ms);
    EXPECT_LT(clock_.Passed(), 1000ms);
    EXPECT_EQ(lines_, Lines({"stream 2: no transport stream in the first 1048576 bytes of '" +
                                 directory_.Path("clip.ts") + "'",
                             "stream 2: found sync, 4194304 bytes dropped",
                             Line("has ended, 100 packets recorded, 4194304 bytes dropped")}));
}

TEST_F(RecordingTest, SourceThatStopsInAPacketIsReportedAndKept) {
    auto const stream = DamagedStream().Good(100).BadCut(187);
    RecordFast(Clip(stream.All()));
    EXPECT_EQ(target_.Packets(), stream.Found());
    EXPECT_EQ(lines_, Lines({Line("stops in a packet"),
                             Line("has ended, 100 packets recorded, 187 bytes dropped")}));
}

TEST_F(RecordingTest, LossOfSyncIsReported) {
    auto const stream = DamagedStream().Good(100).Bad(Garbage(1000)).Good(100);
    RecordFast(Clip(stream.All()));
    EXPECT_EQ(target_.Packets(), stream.Found());
    EXPECT_EQ(lines_, Lines({"stream 2: lost sync and found it again, 1000 bytes dropped",
                             Line("has ended, 200 packets recorded, 1000 bytes dropped")}));
}

TEST_F(RecordingTest, FailedWriteEndsTheRecording) {
    target_.OnWrite([this] {
        if (target_.Bytes().size() > 300000) {
            throw std::runtime_error("the disk is gone");
        }
    });
    RecordFast(Clip(TimedStream(126).All()));
    EXPECT_EQ(lines_, Lines({"stream 2: recording failed: the disk is gone"}));
    EXPECT_EQ(target_.Calls(), "begin write*2 end");
    EXPECT_FALSE(ticks_.WereReturned());
}

TEST_F(RecordingTest, FailedBeginningHasNoEnd) {
    target_.FailToBegin();
    RecordFast(Clip(TimedStream(126).All()));
    EXPECT_EQ(lines_, Lines({"stream 2: recording failed: no disk"}));
    EXPECT_EQ(target_.Calls(), "");
}

TEST_F(RecordingTest, FailedReservationOfTicksEndsTheRecording) {
    ticks_.Fail();
    RecordFast(Clip(TimedStream(126).All()));
    EXPECT_EQ(lines_, Lines({"stream 2: recording failed: no ticks"}));
    EXPECT_EQ(target_.Calls(), "begin end");
}

TEST_F(RecordingTest, StoppedBeforeItBeginsRecordsNothing) {
    stop_.Set();
    RecordFast(Clip(TimedStream(126).All()));
    EXPECT_EQ(lines_, Lines());
    EXPECT_EQ(target_.Calls(), "");
}

} // namespace

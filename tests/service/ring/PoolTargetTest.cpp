// Recordings that fill stream files, wait for one, and continue.
#include "service/ring/PoolTarget.h"

#include <thread>

#include "service/PoolAndStore.h"
#include "service/recording/Fakes.h"
#include "service/ring/DatabaseTickSource.h"
#include "store/Database.h"
#include "support/FileSizeLimit.h"
#include "ts/TsPacket.h"

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::ring;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr std::size_t blockSize = ts::tsBlockSize; // a slot holds 512 of them
constexpr std::size_t blocksPerSlot = pool::poolSlotSize / blockSize;

class PoolTargetTest : public testing::Test {
protected:
    // A block of packets that begins with a tick.
    void Write(std::uint32_t tick) { Write(tick, blockSize); }
    void Write(std::uint32_t tick, std::size_t size) {
        std::vector<unsigned char> const bytes(size, static_cast<unsigned char>(tick));
        recording::PlacedTick const placed{0, {tick, static_cast<int>(1000 + tick)}};
        target_.Write({bytes, {&placed, 1}});
    }

    // What was posted: "+" for a start, "-" for a stop, and the identifier.
    std::vector<std::string> Posted() {
        std::vector<std::string> posted;
        for (StartOrStop const& startOrStop : startsAndStops_.Take()) {
            auto const* const started = std::get_if<RecordStarted>(&startOrStop);
            posted.push_back(started != nullptr
                                 ? "+" + started->reid
                                 : "-" + std::get<RecordStopped>(startOrStop).recording.reid);
        }
        return posted;
    }

    std::vector<std::string> Log() const { return parts_.Log(); }

    std::optional<int> Slot() const { return status_.At({}).slot; }
    std::string Problem() const { return status_.At({}).problem; }
    std::string AwaitProblem() const {
        while (Problem().empty()) { // the test's time limit ends this
            std::this_thread::yield();
        }
        return Problem();
    }

    // Makes an event of everything that is there.
    std::string HoldAll() {
        auto const event = parts_.Store().RecordAfterTheFact(0, 100000, 0xF, 100000);
        EXPECT_TRUE(event);
        return event ? event->reid : "";
    }

    PoolAndStore parts_{2};
    Flusher flusher_{parts_.Pool()};
    FileAllocator files_{parts_.Session(), parts_.Store(), flusher_};
    StartStopQueue startsAndStops_;
    recording_test::FakeClock clock_;
    recording::StopEvent stop_;
    recording::RecordingStatus status_{{1, "-"}};
    PoolTarget target_{1, files_, parts_.Store(), startsAndStops_, clock_, stop_, status_};
    DatabaseTickSource ticks_{1, parts_.Store(), stop_, status_};
};

TEST_F(PoolTargetTest, StartAndStopArePosted) {
    target_.Begin();
    auto const started = Posted();
    ASSERT_THAT(started, ElementsAre(testing::StartsWith("+")));
    EXPECT_EQ(Slot(), std::nullopt);
    Write(7);
    EXPECT_EQ(Slot(), 1);
    clock_.Advance(std::chrono::seconds(5));
    target_.End();
    EXPECT_EQ(Slot(), std::nullopt);
    auto const posted = startsAndStops_.Take();
    ASSERT_THAT(posted, SizeIs(1));
    std::string const reid = started[0].substr(1);
    EXPECT_EQ(std::get<RecordStopped>(posted[0]).recording,
              (store::Event{reid, 1000000, 1000005, 0b0001, false, ""}));
    EXPECT_THAT(Log(), ElementsAre("stream 1: recording " + reid + " started",
                                   "stream 1: recording into stream file 1",
                                   "stream 1: recording " + reid + " stopped"));
    auto const chain = parts_.Store().Chain(1, true);
    ASSERT_THAT(chain, SizeIs(1));
    EXPECT_EQ(chain[0],
              (store::RecordedFile{chain[0].id, 1, 1, 1007, 1007, 7, 7, blockSize, true, false}));
}

TEST_F(PoolTargetTest, StopIsNeverBeforeTheStart) {
    target_.Begin();
    clock_.SetWall({});
    target_.End();
    auto const posted = startsAndStops_.Take();
    ASSERT_THAT(posted, SizeIs(2));
    EXPECT_EQ(std::get<RecordStopped>(posted[1]).recording.stopTime, 1000000);
}

TEST_F(PoolTargetTest, WithoutPacketsTakesNoFile) {
    target_.Begin();
    target_.End();
    EXPECT_THAT(Posted(), SizeIs(2));
    EXPECT_THAT(parts_.Store().Chain(1, true), IsEmpty());
    EXPECT_THAT(parts_.Lengths(), Each(0));
}

TEST_F(PoolTargetTest, NumbersOfTicksAreThoseOfTheDatabase) {
    target_.Begin();
    EXPECT_EQ(ticks_.ReserveTicks(100), 0U);
    EXPECT_EQ(ticks_.ReserveTicks(100), 100U);
    ticks_.ReturnTicks(150);
    EXPECT_EQ(parts_.Store().ReserveTicks(1, 1), 150U);
}

// The pool: an older recording in 1 and 2; the new one wipes 1, fills it to the packet, and goes on
// in 2.
TEST_F(PoolTargetTest, GoesOnInTheOldestFileAtTheEndOfASlot) {
    for (std::uint32_t tick : {0U, 1U}) {
        target_.Begin();
        Write(tick);
        target_.End();
    }
    target_.Begin();
    for (std::uint32_t tick = 2; tick < 2 + blocksPerSlot - 1; ++tick) {
        Write(tick);
    }
    EXPECT_EQ(Slot(), 1);
    Write(1000, 2 * blockSize); // half of it no longer fits
    EXPECT_EQ(Slot(), 2);
    flusher_.Flush();
    EXPECT_THAT(parts_.Lengths(), ElementsAre(pool::poolSlotSize, blockSize));
    EXPECT_TRUE(parts_.IsKnown(1));
    EXPECT_EQ(parts_.Controller(1), StreamMgrFileMgmnt::ControlUnknown);
    EXPECT_EQ(parts_.Controller(2), StreamMgrFileMgmnt::ControlStream1);
    target_.End();
    auto const chain = parts_.Store().Chain(1, false);
    ASSERT_THAT(chain, SizeIs(2));
    EXPECT_EQ(chain[0], (store::RecordedFile{chain[0].id, 1, 1, 1002, 2000, 2, 1000,
                                             pool::poolSlotSize, true, false}));
    // No tick of its own: the one that would come next stands in.
    EXPECT_EQ(chain[1], (store::RecordedFile{chain[1].id, 2, 1, 2000, 2000, 1001, 1001, blockSize,
                                             true, false}));
}

class HeldPoolTest : public PoolTargetTest {
protected:
    HeldPoolTest() {
        for (std::uint32_t tick : {0U, 1U}) {
            target_.Begin();
            Write(tick, 188);
            target_.End();
        }
        reid_ = HoldAll();
        Posted();
        target_.Begin();
    }

    std::string reid_;
    std::string const waits_ =
        "stream 1: no file to record into: events hold them all, or others write them";
};

TEST_F(HeldPoolTest, RecordingSaysSoAndGoesOnWhenAFileIsFree) {
    {
        std::jthread const writer([this] { Write(2); });
        parts_.AwaitLog(waits_);
        EXPECT_THAT(parts_.Lengths(), Each(188));
        EXPECT_EQ("stream 1: " + AwaitProblem(), waits_);
        EXPECT_EQ(Slot(), std::nullopt);
        EXPECT_TRUE(parts_.Store().DeleteEvent(reid_));
    }
    EXPECT_EQ(Problem(), "");
    EXPECT_EQ(Slot(), 1);
    target_.End();
    EXPECT_THAT(parts_.Lengths(), ElementsAre(blockSize, 188));
    EXPECT_EQ(std::ranges::count(Log(), waits_), 1);
    EXPECT_THAT(Posted(), SizeIs(2));
}

TEST_F(HeldPoolTest, StopEndsTheWait) {
    {
        std::jthread const writer([this] { Write(2); });
        parts_.AwaitLog(waits_);
        stop_.Set();
    }
    target_.End();
    EXPECT_THAT(parts_.Lengths(), Each(188));
    EXPECT_THAT(Posted(), SizeIs(2));
}

// A file system without room shows as a failed write into the second slot; what lies before, the
// database among it, can be written.
class FullFileSystemTest : public PoolTargetTest {
protected:
    FullFileSystemTest() {
        parts_.Load(1, std::vector<unsigned char>(188, 1)); // unknown to the database: never taken
        target_.Begin();
    }

    std::optional<FileSizeLimit> limit_{std::in_place, pool::poolSlotSize / 2};
    std::string const fails_ = "stream 1: cannot record into stream file 2: File too large";
};

TEST_F(FullFileSystemTest, WriteThatFailsIsRepeatedUntilThereIsRoom) {
    {
        std::jthread const writer([this] { Write(5); });
        parts_.AwaitLog(fails_);
        EXPECT_THAT(parts_.Lengths(), ElementsAre(188, 0));
        EXPECT_EQ("stream 1: " + AwaitProblem(), fails_);
        limit_.reset();
    }
    EXPECT_EQ(Problem(), "");
    target_.End();
    EXPECT_EQ(parts_.Contents(2), std::vector<unsigned char>(blockSize, 5));
    EXPECT_EQ(std::ranges::count(Log(), fails_), 1);
}

TEST_F(FullFileSystemTest, StopEndsTheRepetition) {
    {
        std::jthread const writer([this] { EXPECT_THROW(Write(5), std::exception); });
        parts_.AwaitLog(fails_);
        stop_.Set();
    }
    target_.End();
    EXPECT_THAT(Posted(), SizeIs(2));
    EXPECT_EQ(parts_.Length(2), 0U);
    EXPECT_EQ(parts_.Controller(2), StreamMgrFileMgmnt::ControlUnknown);
}

// Another connection locks the database.
class LockedStoreTest : public PoolTargetTest {
protected:
    void Lock() { other_.Execute("BEGIN EXCLUSIVE"); }
    void Unlock() { other_.Execute("ROLLBACK"); }

    // Runs the step while the database is locked, and unlocks it when the log has the entry.
    template <typename Step>
    void WhileLocked(Step step, std::string const& entry) {
        Lock();
        std::jthread const thread(step);
        parts_.AwaitLog(entry + ": database '" + DatabasePath() + "': database is locked");
        Unlock();
    }

    store::Database other_{DatabasePath(), store::Database::Mode::existing};
};

TEST_F(LockedStoreTest, IsWaitedFor) {
    target_.Begin();
    WhileLocked([this] { EXPECT_EQ(ticks_.ReserveTicks(10), 0U); },
                "stream 1: cannot number ticks");
    WhileLocked([this] { Write(3); }, "stream 1: cannot record into stream file 1");
    WhileLocked([this] { target_.End(); }, "stream 1: cannot finish stream file 1");
    auto const chain = parts_.Store().Chain(1, true);
    ASSERT_THAT(chain, SizeIs(1));
    EXPECT_TRUE(chain[0].finished);
    EXPECT_EQ(chain[0].size, blockSize);
    EXPECT_EQ(parts_.Contents(1), std::vector<unsigned char>(blockSize, 3));
}

TEST_F(LockedStoreTest, DoesNotKeepTheStopFromBeingPosted) {
    target_.Begin();
    Write(3);
    stop_.Set();
    Lock();
    target_.End();
    Unlock();
    EXPECT_THAT(Posted(), SizeIs(2));
    EXPECT_THAT(Log(), Contains("stream 1: stream file 1 is left for the next start to finish"));
    EXPECT_EQ(parts_.Length(1), blockSize);
    EXPECT_EQ(parts_.Controller(1), StreamMgrFileMgmnt::ControlUnknown);
    EXPECT_FALSE(parts_.Store().Chain(1, true).at(0).finished);
}

} // namespace

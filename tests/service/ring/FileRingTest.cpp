// Which stream files recordings go into.
#include "service/ring/FileRing.h"

#include "service/PoolAndStore.h"

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::ring;
using testing::ElementsAre;

namespace {

std::vector<unsigned char> Packets(std::size_t count) {
    return std::vector<unsigned char>(count * 188, 0x47);
}

class FileRingTest : public testing::Test {
protected:
    // Records one packet into the next file, with this tick; 0 when the ring has none.
    int Record(int stream, std::uint32_t tick) {
        auto const file = ring_.Take(stream);
        if (!file) {
            return 0;
        }
        file->Append(Packets(1), ContentsOf(188, tick, tick), 0);
        file->Finish(ContentsOf(188, tick, tick), 0);
        return file->Number();
    }

    PoolAndStore parts_{3};
    FileRing ring_{parts_.Pool(), parts_.Store()};
};

TEST_F(FileRingTest, FreeFilesAreTakenInTurnThenTheOldestIsWiped) {
    std::vector<int> taken;
    for (std::uint32_t tick = 0; tick < 7; ++tick) {
        taken.push_back(Record(1, tick));
    }
    EXPECT_THAT(taken, ElementsAre(1, 2, 3, 1, 2, 3, 1));
    EXPECT_EQ(parts_.Store().Chain(1, true).size(), 7U);
    EXPECT_EQ(parts_.Store().Chain(1, false).size(), 3U);
}

TEST_F(FileRingTest, FileShowsItsStreamWhileItIsRecordedInto) {
    auto file = ring_.Take(3);
    ASSERT_TRUE(file);
    EXPECT_EQ(parts_.Info(1).writeController, StreamMgrFileMgmnt::ControlStream3);
    file->Append(Packets(2), ContentsOf(376, 5, 6), 0);
    EXPECT_EQ(parts_.Info(1).fileSize, 376U);
    EXPECT_FALSE(parts_.Info(1).streamDbMatch);
    file->Finish(ContentsOf(376, 5, 6), 0);
    file.reset();
    EXPECT_EQ(parts_.Info(1).writeController, StreamMgrFileMgmnt::ControlUnknown);
    EXPECT_TRUE(parts_.Info(1).streamDbMatch);
    auto const chain = parts_.Store().Chain(3, true);
    ASSERT_EQ(chain.size(), 1U);
    EXPECT_EQ(chain[0],
              (store::RecordedFile{chain[0].id, 1, 3, 1005, 1006, 5, 6, 376, true, false}));
}

TEST_F(FileRingTest, FileThatIsBeingRecordedIntoIsNotTakenAgain) {
    auto const first = ring_.Take(1);
    auto const second = ring_.Take(2);
    auto const third = ring_.Take(3);
    ASSERT_TRUE(first && second && third);
    EXPECT_THAT((std::vector<int>{first->Number(), second->Number(), third->Number()}),
                ElementsAre(1, 2, 3));
    EXPECT_FALSE(ring_.Take(4));
}

TEST_F(FileRingTest, FilesOfEventsAreKeptUntilTheEventIsDeleted) {
    for (std::uint32_t tick = 0; tick < 3; ++tick) {
        Record(1, tick);
    }
    auto const event = parts_.Store().RecordAfterTheFact(1000, 1002, 0xF, 2000);
    ASSERT_TRUE(event);
    EXPECT_EQ(Record(1, 3), 0);
    EXPECT_THAT(parts_.Lengths(), ElementsAre(188, 188, 188));
    EXPECT_TRUE(parts_.Store().DeleteEvent(event->reid));
    EXPECT_EQ(Record(1, 3), 1);
}

TEST_F(FileRingTest, OldestUnprotectedIsWipedWhenAnEventHoldsAnOlderOne) {
    for (std::uint32_t tick = 0; tick < 3; ++tick) {
        Record(1, tick);
    }
    ASSERT_TRUE(parts_.Store().RecordAfterTheFact(1000, 1000, 0xF, 2000));
    EXPECT_EQ(Record(1, 3), 2);
    EXPECT_EQ(Record(1, 4), 3);
    EXPECT_EQ(Record(1, 5), 2);
}

TEST_F(FileRingTest, FileThatTheDatabaseDoesNotKnowIsLeftAlone) {
    parts_.Load(2, Packets(4));
    EXPECT_EQ(Record(1, 0), 1);
    EXPECT_EQ(Record(1, 1), 3);
    EXPECT_EQ(Record(1, 2), 1);
    EXPECT_EQ(parts_.Contents(2), Packets(4));
}

TEST_F(FileRingTest, OldestIsNotWipedWhileSomebodyWritesIt) {
    for (std::uint32_t tick = 0; tick < 3; ++tick) {
        Record(1, tick);
    }
    StreamFileAccess const writer(1, false, StreamMgrFileMgmnt::ControlExternalProc);
    EXPECT_EQ(Record(1, 3), 0);
    EXPECT_EQ(parts_.Info(1).fileSize, 188U);
}

TEST_F(FileRingTest, ReaperFreesATenthOfThePool) {
    PoolAndStore parts(25);
    FileRing ring(parts.Pool(), parts.Store());
    for (std::uint32_t tick = 0; tick < 25; ++tick) {
        auto const file = ring.Take(1);
        ASSERT_TRUE(file);
        file->Append(Packets(1), ContentsOf(188, tick, tick), 0);
        file->Finish(ContentsOf(188, tick, tick), 0);
    }
    EXPECT_EQ(ring.Reap(), 3U);
    EXPECT_EQ(std::ranges::count(parts.Lengths(), 0U), 3);
    EXPECT_EQ(parts.Info(1).fileSize, 0U);
    EXPECT_FALSE(parts.Info(1).streamDbMatch);
    EXPECT_EQ(ring.Reap(), 0U);
    auto log = parts.Log();
    EXPECT_THAT(log,
                ElementsAre("wiped stream file 1 of stream 1", "wiped stream file 2 of stream 1",
                            "wiped stream file 3 of stream 1"));
}

TEST_F(FileRingTest, ReaperWipesNothingThatIsHeld) {
    for (std::uint32_t tick = 0; tick < 3; ++tick) {
        Record(1, tick);
    }
    ASSERT_TRUE(parts_.Store().RecordAfterTheFact(1000, 1002, 0xF, 2000));
    EXPECT_EQ(ring_.Reap(), 0U);
    EXPECT_THAT(parts_.Lengths(), ElementsAre(188, 188, 188));
}

} // namespace

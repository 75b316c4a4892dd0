// Which stream files the reaper wipes.
#include "service/ring/Reaper.h"

#include "service/ring/RecordedPool.h"

using namespace ring_test;
using namespace workstation;
using namespace workstation::service::ring;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class ReaperTest : public RecordedPoolTest {
protected:
    Reaper reaper_{parts_.Session(), parts_.Store()};
};

TEST_F(ReaperTest, OldestIsWipedInTheDatabaseAndInTheTableOfFiles) {
    Fill();
    EXPECT_TRUE(reaper_.WipeOldest());
    EXPECT_THAT(parts_.Lengths(), ElementsAre(0, 188, 188));
    EXPECT_FALSE(parts_.IsKnown(1));
    EXPECT_TRUE(parts_.IsKnown(2));
    EXPECT_EQ(parts_.Controller(1), StreamMgrFileMgmnt::ControlUnknown);
    auto const chain = parts_.Store().Chain(1, true);
    ASSERT_THAT(chain, SizeIs(3));
    EXPECT_TRUE(chain[0].wiped);
    EXPECT_FALSE(chain[1].wiped);
    EXPECT_THAT(parts_.Log(), ElementsAre("wiped stream file 1 of stream 1"));
}

TEST_F(ReaperTest, OldestThatNoEventHoldsIsWiped) {
    Fill();
    Hold(1000, 1000);
    EXPECT_EQ(Record(1, 3), 2);
    EXPECT_EQ(Record(1, 4), 3);
    EXPECT_EQ(Record(1, 5), 2);
}

TEST_F(ReaperTest, NextIsWipedWhileTheOldestIsBeingWritten) {
    Fill();
    auto const writer = pool::StreamFile::OpenForWriting(parts_.Session(), 1,
                                                         StreamMgrFileMgmnt::ControlExternalProc);
    EXPECT_TRUE(reaper_.WipeOldest());
    EXPECT_THAT(parts_.Lengths(), ElementsAre(188, 0, 188));
    EXPECT_EQ(Record(1, 3), 2);
    EXPECT_EQ(Record(1, 4), 3);
    EXPECT_TRUE(parts_.IsKnown(1));
    EXPECT_EQ(parts_.Contents(1), Packets(1));
}

TEST_F(ReaperTest, NothingIsWipedWhileAllAreBeingWritten) {
    Fill();
    std::vector<std::unique_ptr<pool::StreamFile>> writers;
    for (int number : {1, 2, 3}) {
        writers.push_back(pool::StreamFile::OpenForWriting(
            parts_.Session(), number, StreamMgrFileMgmnt::ControlExternalProc));
    }
    EXPECT_FALSE(reaper_.WipeOldest());
    EXPECT_EQ(Record(1, 3), 0);
    EXPECT_THAT(parts_.Lengths(), ElementsAre(188, 188, 188));
    EXPECT_THAT(parts_.Store().Chain(1, false), SizeIs(3));
    EXPECT_THAT(parts_.Log(), IsEmpty());
}

TEST_F(ReaperTest, FileThatThePoolDoesNotHaveIsNotWiped) {
    auto const id = parts_.Store().BeginFile(1, 7, 1000, 0);
    ASSERT_TRUE(id && parts_.Store().FinishFile(*id, 188, 1000, 0));
    EXPECT_FALSE(reaper_.WipeOldest());
    EXPECT_THAT(parts_.Store().Chain(1, false), SizeIs(1));
}

TEST_F(ReaperTest, ATenthOfThePoolIsMadeFree) {
    PoolAndStore parts(25);
    Flusher flusher(parts.Pool());
    FileAllocator files(parts.Session(), parts.Store(), flusher);
    for (std::uint32_t tick = 0; tick < 25; ++tick) {
        ASSERT_NE(RecordPacket(files, 1, tick), 0);
    }
    EXPECT_EQ(files.Reap(), 3U);
    EXPECT_EQ(std::ranges::count(parts.Lengths(), 0U), 3);
    EXPECT_EQ(parts.Length(1), 0U);
    EXPECT_FALSE(parts.IsKnown(1));
    EXPECT_EQ(files.Reap(), 0U);
    EXPECT_THAT(parts.Log(),
                ElementsAre("wiped stream file 1 of stream 1", "wiped stream file 2 of stream 1",
                            "wiped stream file 3 of stream 1"));
}

TEST_F(ReaperTest, FilesThatAreFreeAlreadyCount) {
    PoolAndStore parts(20);
    Flusher flusher(parts.Pool());
    FileAllocator files(parts.Session(), parts.Store(), flusher);
    for (std::uint32_t tick = 0; tick < 19; ++tick) {
        ASSERT_NE(RecordPacket(files, 1, tick), 0);
    }
    EXPECT_EQ(files.Reap(), 1U);
    EXPECT_EQ(std::ranges::count(parts.Lengths(), 0U), 2);
}

TEST_F(ReaperTest, NothingThatIsHeldIsWiped) {
    Fill();
    Hold(1000, 1002);
    EXPECT_EQ(files_.Reap(), 0U);
    EXPECT_THAT(parts_.Lengths(), ElementsAre(188, 188, 188));
}

} // namespace

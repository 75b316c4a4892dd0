// Which stream files recordings go into.
#include "service/ring/FileAllocator.h"

#include "service/ring/RecordedPool.h"

using namespace ring_test;
using namespace workstation;
using namespace workstation::service::ring;
using testing::ElementsAre;

namespace {

using FileAllocatorTest = RecordedPoolTest;

TEST_F(FileAllocatorTest, FreeFilesAreTakenInTurnThenTheOldestIsWiped) {
    std::vector<int> taken;
    for (std::uint32_t tick = 0; tick < 7; ++tick) {
        taken.push_back(Record(1, tick));
    }
    EXPECT_THAT(taken, ElementsAre(1, 2, 3, 1, 2, 3, 1));
    EXPECT_EQ(parts_.Store().Chain(1, true).size(), 7U);
    EXPECT_EQ(parts_.Store().Chain(1, false).size(), 3U);
}

TEST_F(FileAllocatorTest, FileShowsItsStreamWhileItIsRecordedInto) {
    auto file = files_.Take(3);
    ASSERT_TRUE(file);
    EXPECT_EQ(parts_.Controller(1), StreamMgrFileMgmnt::ControlStream3);
    file->Append(Packets(2), RangeOf(5, 6), {});
    EXPECT_FALSE(parts_.IsKnown(1));
    file->Finish();
    EXPECT_EQ(parts_.Length(1), 376U);
    file.reset();
    EXPECT_EQ(parts_.Controller(1), StreamMgrFileMgmnt::ControlUnknown);
    EXPECT_TRUE(parts_.IsKnown(1));
    auto const chain = parts_.Store().Chain(3, true);
    ASSERT_EQ(chain.size(), 1U);
    EXPECT_EQ(chain[0],
              (store::RecordedFile{chain[0].id, 1, 3, 1005, 1006, 5, 6, 376, true, false}));
}

TEST_F(FileAllocatorTest, EachAppendGoesAfterTheOneBefore) {
    auto const file = files_.Take(1);
    ASSERT_TRUE(file);
    file->Append(Packets(1), RangeOf(5, 5), {});
    file->Append(std::vector<unsigned char>(376, 0x48), RangeOf(6, 6), {});
    flusher_.Flush();
    auto expected = Packets(1);
    expected.resize(564, 0x48);
    EXPECT_EQ(parts_.Contents(1), expected);
    EXPECT_EQ(parts_.Store().Chain(1, true).size(), 1U);
}

TEST_F(FileAllocatorTest, FileIntoWhichNothingWasWrittenLeavesNoLink) {
    {
        auto const file = files_.Take(1);
        ASSERT_TRUE(file);
        file->Finish();
    }
    EXPECT_TRUE(parts_.Store().Chain(1, true).empty());
    EXPECT_FALSE(parts_.IsKnown(1));
}

TEST_F(FileAllocatorTest, FileThatIsBeingRecordedIntoIsNotTakenAgain) {
    auto const first = files_.Take(1);
    auto const second = files_.Take(2);
    auto const third = files_.Take(3);
    ASSERT_TRUE(first && second && third);
    EXPECT_THAT((std::vector<int>{first->Number(), second->Number(), third->Number()}),
                ElementsAre(1, 2, 3));
    EXPECT_FALSE(files_.Take(4));
}

TEST_F(FileAllocatorTest, FilesOfEventsAreKeptUntilTheEventIsDeleted) {
    Fill();
    std::string const reid = Hold(1000, 1002);
    EXPECT_EQ(Record(1, 3), 0);
    EXPECT_THAT(parts_.Lengths(), ElementsAre(188, 188, 188));
    EXPECT_TRUE(parts_.Store().DeleteEvent(reid));
    EXPECT_EQ(Record(1, 3), 1);
}

TEST_F(FileAllocatorTest, EmptyFileThatAnEventHoldsIsNotTaken) {
    Fill();
    Hold(1000, 1001);
    parts_.Load(1, {});
    parts_.Load(2, {});
    EXPECT_EQ(Record(1, 3), 3);
}

TEST_F(FileAllocatorTest, EmptyFileThatAnEventHoldsInTheBufferIsNotTaken) {
    Fill();
    Hold(1001, 1002);
    parts_.Load(2, {});
    EXPECT_THAT(parts_.Store().FilesHeldByEvents().inBuffer, ElementsAre(2, 3));
    EXPECT_EQ(Record(1, 3), 1);
}

TEST_F(FileAllocatorTest, FileThatTheDatabaseDoesNotKnowIsLeftAlone) {
    parts_.Load(2, Packets(4));
    EXPECT_EQ(Record(1, 0), 1);
    EXPECT_EQ(Record(1, 1), 3);
    EXPECT_EQ(Record(1, 2), 1);
    EXPECT_EQ(parts_.Contents(2), Packets(4));
}

} // namespace

// The chain of stream files: begin, finish, wipe.
#include "Failure.h"
#include "StoreTest.h"

#include <limits>

namespace workstation::store {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using StreamFilesTest = StoreTest;

TEST_F(StreamFilesTest, NewStoreIsEmpty) {
    EXPECT_THAT(store_.FilesInUse(), IsEmpty());
    EXPECT_THAT(store_.UnfinishedFiles(), IsEmpty());
    EXPECT_THAT(store_.Chain(1, true), IsEmpty());
    EXPECT_THAT(store_.UnprotectedFiles(), IsEmpty());
}

TEST_F(StreamFilesTest, BegunFileIsUnfinished) {
    auto const id = store_.BeginFile(3, 12, 100, 2000);
    ASSERT_TRUE(id);
    RecordedFile const expected{*id, 12, 3, 100, 100, 2000, 2000, 0, false, false};
    EXPECT_THAT(store_.UnfinishedFiles(), ElementsAre(expected));
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(expected));
    EXPECT_THAT(store_.UnprotectedFiles(), IsEmpty());
}

TEST_F(StreamFilesTest, FinishedFileHasWhatItWasFinishedWith) {
    auto const id = store_.BeginFile(3, 12, 100, 2000);
    EXPECT_TRUE(store_.FinishFile(*id, 98566144, 200, 4000));
    RecordedFile const expected{*id, 12, 3, 100, 200, 2000, 4000, 98566144, true, false};
    EXPECT_THAT(store_.UnfinishedFiles(), IsEmpty());
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(expected));
    EXPECT_THAT(store_.UnprotectedFiles(), ElementsAre(expected));
}

TEST_F(StreamFilesTest, LargestValuesComeBack) {
    constexpr unsigned int largest = std::numeric_limits<unsigned int>::max();
    constexpr int lastNumber = std::numeric_limits<int>::max();
    constexpr std::int64_t late = 1LL << 40;
    auto const id = store_.BeginFile(4, lastNumber, late, largest - 1);
    EXPECT_TRUE(store_.FinishFile(*id, largest, late + 1, largest));
    EXPECT_THAT(store_.FilesInUse(),
                ElementsAre(RecordedFile{*id, lastNumber, 4, late, late + 1, largest - 1, largest,
                                         largest, true, false}));
}

TEST_F(StreamFilesTest, StopBeforeTheStartCountsAsTheStart) {
    auto const id = store_.BeginFile(1, 1, 100, 0);
    EXPECT_TRUE(store_.FinishFile(*id, 10, 99, 5));
    EXPECT_EQ(store_.FilesInUse()[0].stopTime, 100);
}

TEST_F(StreamFilesTest, UnknownLinkIsNotFinished) {
    EXPECT_FALSE(store_.FinishFile(1, 10, 20, 30));
}

TEST_F(StreamFilesTest, WipedLinkIsNotFinished) {
    RecordedFile const file = Begin(1, 1, 100);
    EXPECT_TRUE(store_.Wipe(file.id));
    EXPECT_FALSE(store_.FinishFile(file.id, 10, 200, 30));
    EXPECT_THAT(store_.Chain(1, true), ElementsAre(Wiped(file)));
}

TEST_F(StreamFilesTest, StreamsAreCountedFrom1To4) {
    for (unsigned int stream : {0U, 5U}) {
        EXPECT_THROW(store_.BeginFile(stream, 1, 100, 0), Failure);
    }
    EXPECT_THROW(store_.BeginFile(1, 0, 100, 0), Failure);
    EXPECT_THAT(store_.FilesInUse(), IsEmpty());
}

TEST_F(StreamFilesTest, FileThatIsUsedAgainGetsANewLinkAndLosesTheOldOne) {
    RecordedFile const former = Record(1, 5, 100, 200);
    RecordedFile const other = Record(1, 6, 200, 300);
    RecordedFile const latter = Begin(2, 5, 300);
    EXPECT_GT(latter.id, other.id);
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(other, latter));
    EXPECT_THAT(store_.Chain(1, true), ElementsAre(Wiped(former), other));
    EXPECT_THAT(store_.Chain(2, true), ElementsAre(latter));
}

TEST_F(StreamFilesTest, FailedBeginLeavesTheFormerLink) {
    RecordedFile const former = Record(1, 5, 100, 200);
    EXPECT_THROW(store_.BeginFile(9, 5, 300, 0), Failure);
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(former));
}

TEST_F(StreamFilesTest, ChainIsOfOneStreamWithOrWithoutWipedFiles) {
    RecordedFile const first = Record(1, 1, 100, 200);
    RecordedFile const second = Record(1, 2, 200, 300);
    RecordedFile const other = Record(2, 3, 200, 300);
    RecordedFile const third = Begin(1, 4, 300);
    EXPECT_TRUE(store_.Wipe(second.id));
    EXPECT_THAT(store_.Chain(1, true), ElementsAre(first, Wiped(second), third));
    EXPECT_THAT(store_.Chain(1, false), ElementsAre(first, third));
    EXPECT_THAT(store_.Chain(2, false), ElementsAre(other));
    EXPECT_THAT(store_.Chain(3, true), IsEmpty());
    EXPECT_THAT(store_.Chain(0, true), IsEmpty());
    EXPECT_THAT(store_.Chain(std::numeric_limits<unsigned int>::max(), true), IsEmpty());
}

TEST_F(StreamFilesTest, FirstTickIsCorrected) {
    RecordedFile file = Begin(1, 1, 100);
    store_.SetFirstTick(file.id, 130);
    file.firstTick = 130;
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(file));
}

TEST_F(StreamFilesTest, UnprotectedFilesAreInTheOrderOfRecording) {
    RecordedFile const first = Record(2, 9, 500, 600); // the clock was set back after it
    RecordedFile const second = Record(1, 1, 100, 200);
    EXPECT_THAT(store_.UnprotectedFiles(), ElementsAre(first, second));
    EXPECT_TRUE(store_.Wipe(first.id));
    EXPECT_THAT(store_.UnprotectedFiles(), ElementsAre(second));
    EXPECT_TRUE(store_.Wipe(second.id));
    EXPECT_THAT(store_.UnprotectedFiles(), IsEmpty());
}

TEST_F(StreamFilesTest, FileIsWipedOnce) {
    RecordedFile const file = Record(1, 1, 100, 200);
    EXPECT_TRUE(store_.Wipe(file.id));
    EXPECT_FALSE(store_.Wipe(file.id));
    EXPECT_FALSE(store_.Wipe(file.id + 1));
}

TEST_F(StreamFilesTest, SizeIsUpdatedWhereThereIsAFile) {
    RecordedFile file = Record(1, 1, 100, 200, 50);
    EXPECT_TRUE(store_.UpdateFileSize(1, 60));
    file.size = 60;
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(file));
    EXPECT_FALSE(store_.UpdateFileSize(2, 60));
    EXPECT_TRUE(store_.Wipe(file.id));
    EXPECT_FALSE(store_.UpdateFileSize(1, 70));
    EXPECT_THAT(store_.Chain(1, true), ElementsAre(Wiped(file)));
}

TEST_F(StreamFilesTest, NewestThousandWipedLinksOfEachStreamAreRemembered) {
    RecordedFile const other = Record(2, 2, 1, 2);
    EXPECT_TRUE(store_.Wipe(other.id));
    RecordedFile const kept = Record(1, 3, 1, 2);
    std::int64_t first = 0;
    for (int i = 0; i < 1003; ++i) {
        RecordedFile const file = Record(1, 1, i, i);
        first = i == 0 ? file.id : first;
    }
    // 1002 were wiped by their successor; two of them are forgotten.
    auto const chain = store_.Chain(1, true);
    ASSERT_EQ(chain.size(), 1U + 1000U + 1U);
    EXPECT_EQ(chain.front(), kept);
    EXPECT_EQ(chain[1].id, first + 2);
    EXPECT_FALSE(chain.back().wiped);
    EXPECT_THAT(store_.Chain(2, true), ElementsAre(Wiped(other)));
}

} // namespace
} // namespace workstation::store

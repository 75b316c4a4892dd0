// The rows of recordings: from their start, also when they are cut off.
#include "store/StoreTest.h"

namespace workstation::store {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using RecordingsTest = StoreTest;

TEST_F(RecordingsTest, RecordingHasARowFromItsStart) {
    std::string const first = store_.BeginRecording(2, 1000);
    std::string const second = store_.BeginRecording(1, 900);
    EXPECT_THAT(store_.Recordings(), ElementsAre(RecordingRow{first, 2, 1000, std::nullopt},
                                                 RecordingRow{second, 1, 900, std::nullopt}));
    EXPECT_TRUE(store_.IsRecording(first));
    EXPECT_FALSE(store_.IsRecording("no-such-recording"));
    EXPECT_EQ(store_.FindEvent(first), std::nullopt);
}

TEST_F(RecordingsTest, EndIsKeptAndNeverBeforeTheStart) {
    std::string const first = store_.BeginRecording(1, 1000);
    std::string const second = store_.BeginRecording(2, 1000);
    store_.EndRecording(first, 1060);
    store_.EndRecording(second, 999);
    store_.EndRecording(first, 2000); // has ended already
    EXPECT_THAT(store_.Recordings(), ElementsAre(RecordingRow{first, 1, 1000, 1060},
                                                 RecordingRow{second, 2, 1000, 1000}));
}

TEST_F(RecordingsTest, InterruptedRecordingEndsWithTheFilesOfItsStream) {
    std::string const ended = store_.BeginRecording(1, 100);
    store_.EndRecording(ended, 150);
    std::string const first = store_.BeginRecording(1, 1000);
    std::string const second = store_.BeginRecording(2, 1000);
    std::string const third = store_.BeginRecording(3, 1000);
    Record(1, 1, 1000, 1075);
    Record(1, 2, 1076, 1090);
    Record(2, 3, 500, 600); // of an earlier recording
    store_.EndInterruptedRecordings();
    EXPECT_THAT(store_.Recordings(),
                ElementsAre(RecordingRow{ended, 1, 100, 150}, RecordingRow{first, 1, 1000, 1090},
                            RecordingRow{second, 2, 1000, 1000},
                            RecordingRow{third, 3, 1000, 1000}));
}

TEST_F(RecordingsTest, NewestThousandOfAStreamAreKept) {
    std::string const other = store_.BeginRecording(2, 1);
    for (int second = 0; second < 1003; ++second) {
        store_.EndRecording(store_.BeginRecording(1, second), second);
    }
    auto const recordings = store_.Recordings();
    ASSERT_THAT(recordings, SizeIs(1001));
    EXPECT_EQ(recordings[0].reid, other);
    EXPECT_EQ(recordings[1].startTime, 3);
}

TEST_F(RecordingsTest, RecordingIsNoEvent) {
    std::string const reid = store_.BeginRecording(1, 1000);
    Record(1, 1, 1000, 1010);
    EXPECT_FALSE(store_.DeleteEvent(reid));
    EXPECT_FALSE(store_.SetTagsComplete(reid));
    EXPECT_EQ(store_.SplitEvent(reid, 1), std::nullopt);
    EXPECT_THAT(store_.FilesOf(reid), IsEmpty());
    EXPECT_TRUE(store_.IsRecording(reid));
}

} // namespace
} // namespace workstation::store

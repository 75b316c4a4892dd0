// The start of the service after an earlier run that was cut off. In each case the state is made as
// that run left it.
#include "service/ring/Recovery.h"

#include "service/PoolAndStore.h"
#include "ts/SystemTickPacket.h"

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::ring;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A packet a tick, each a second after the one before.
std::vector<unsigned char> Ticks(unsigned int first, unsigned int last) {
    std::vector<unsigned char> bytes;
    for (unsigned int tick = first; tick <= last; ++tick) {
        auto const packet =
            ts::EncodeSystemTick(2, StreamMetadata{tick, static_cast<int>(1000 + tick), {}}, tick);
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }
    return bytes;
}

class RecoveryTest : public testing::Test {
protected:
    store::RecordedFile OnlyLink() {
        auto const chain = parts_.Store().Chain(1, true);
        EXPECT_EQ(chain.size(), 1U);
        return chain.empty() ? store::RecordedFile{} : chain[0];
    }

    void RecordFinished(int number, unsigned int firstTick, unsigned int lastTick,
                        unsigned int stream = 1) {
        auto const id = parts_.Store().BeginFile(stream, number, 1000 + firstTick, firstTick);
        ASSERT_TRUE(id);
        auto const bytes = Ticks(firstTick, lastTick);
        parts_.Load(number, bytes);
        ASSERT_TRUE(parts_.Store().FinishFile(*id, static_cast<unsigned int>(bytes.size()),
                                              1000 + lastTick, lastTick));
        parts_.Pool().MarkKnown(number, true);
    }

    PoolAndStore parts_{3};
};

TEST_F(RecoveryTest, InterruptedRecordingIsFinishedAsFarAsItWent) {
    auto const id = parts_.Store().BeginFile(1, 2, 1005, 5);
    parts_.Load(2, Ticks(5, 14));
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(OnlyLink(), (store::RecordedFile{*id, 2, 1, 1005, 1014, 5, 14, 1880, true, false}));
    EXPECT_TRUE(parts_.IsKnown(2));
    EXPECT_EQ(parts_.Contents(2), Ticks(5, 14));
    EXPECT_THAT(parts_.Log(), ElementsAre("stream 1: finished the interrupted recording into "
                                          "stream file 2, 1880 bytes"));
}

// The file began in a block without a tick: the database has what was in force before.
TEST_F(RecoveryTest, FirstTickThatTheDatabaseDoesNotKnowIsNoOtherRecording) {
    auto const id = parts_.Store().BeginFile(1, 2, 1000, 0);
    parts_.Load(2, Ticks(5, 14));
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(OnlyLink(), (store::RecordedFile{*id, 2, 1, 1000, 1014, 5, 14, 1880, true, false}));
    EXPECT_EQ(parts_.Contents(2), Ticks(5, 14));
}

TEST_F(RecoveryTest, TicksFarFromTheEndsAreFound) {
    auto const id = parts_.Store().BeginFile(1, 2, 1000, 0);
    std::vector<unsigned char> bytes(30000 * ts::tsPacketSize, 0x47);
    std::ranges::copy(Ticks(5, 5), bytes.begin() + 10000 * ts::tsPacketSize);
    std::ranges::copy(Ticks(6, 7), bytes.begin() + 15000 * ts::tsPacketSize);
    parts_.Load(2, bytes);
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(OnlyLink(),
              (store::RecordedFile{*id, 2, 1, 1000, 1007, 5, 7,
                                   static_cast<unsigned int>(bytes.size()), true, false}));
}

TEST_F(RecoveryTest, RecordingThatWasCutOffEndsWithItsLastTick) {
    std::string const reid = parts_.Store().BeginRecording(1, 1005);
    parts_.Store().BeginFile(1, 2, 1005, 5);
    parts_.Load(2, Ticks(5, 14));
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_THAT(parts_.Store().Recordings(), ElementsAre(store::RecordingRow{reid, 1, 1005, 1014}));
}

TEST_F(RecoveryTest, InterruptedRecordingWithoutATickKeepsWhatItBeganWith) {
    auto const id = parts_.Store().BeginFile(1, 2, 1005, 5);
    parts_.Load(2, std::vector<unsigned char>(1880, 0x47));
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(OnlyLink(), (store::RecordedFile{*id, 2, 1, 1005, 1005, 5, 5, 1880, true, false}));
    EXPECT_EQ(parts_.Length(2), 1880U);
}

TEST_F(RecoveryTest, FileThatCannotBeReadDoesNotKeepTheOthersFromBeingFinished) {
    parts_.Store().BeginFile(1, 1, 1000, 0);
    parts_.Pool().Set(1, pool::EntryWord::length, pool::poolSlotSize + 1); // a damaged entry
    auto const id = parts_.Store().BeginFile(2, 2, 1005, 5);
    parts_.Load(2, Ticks(5, 14));
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_THAT(parts_.Store().UnfinishedFiles(), IsEmpty());
    EXPECT_THAT(parts_.Store().Chain(2, true),
                ElementsAre(store::RecordedFile{*id, 2, 2, 1005, 1014, 5, 14, 1880, true, false}));
}

TEST_F(RecoveryTest, RecordingThatHadNotWrittenAnythingIsForgotten) {
    parts_.Store().BeginFile(1, 2, 1005, 5);
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_THAT(parts_.Store().Chain(1, false), IsEmpty());
    EXPECT_THAT(parts_.Lengths(), ElementsAre(0, 0, 0));
}

TEST_F(RecoveryTest, ContentsOfTheRecordingBeforeAreNotTakenForTheNewOne) {
    RecordFinished(2, 5, 14);
    auto const id = parts_.Store().BeginFile(1, 2, 1100, 100);
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_THAT(parts_.Store().Chain(1, false), IsEmpty());
    // The ticks of the recording before are not those of the new one.
    EXPECT_EQ(parts_.Store().Chain(1, true).back(),
              (store::RecordedFile{*id, 2, 1, 1100, 1100, 100, 100, 0, true, true}));
    EXPECT_THAT(parts_.Lengths(), ElementsAre(0, 0, 0));
    EXPECT_FALSE(parts_.IsKnown(2));
}

TEST_F(RecoveryTest, WipeThatTheTableDoesNotShowYetIsFinished) {
    RecordFinished(2, 5, 14);
    ASSERT_TRUE(parts_.Store().Wipe(OnlyLink().id));
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_THAT(parts_.Lengths(), ElementsAre(0, 0, 0));
    EXPECT_FALSE(parts_.IsKnown(2));
}

TEST_F(RecoveryTest, FileThatSomebodyPutIntoAWipedSlotIsLeftAlone) {
    RecordFinished(2, 5, 14);
    ASSERT_TRUE(parts_.Store().Wipe(OnlyLink().id));
    parts_.Pool().MarkKnown(2, false);
    parts_.Load(2, Ticks(5, 14));
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(parts_.Contents(2), Ticks(5, 14));
}

TEST_F(RecoveryTest, WipedFileThatHasAnotherLengthIsLeftAlone) {
    RecordFinished(2, 5, 14);
    ASSERT_TRUE(parts_.Store().Wipe(OnlyLink().id));
    parts_.Load(2, Ticks(5, 9));
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(parts_.Contents(2), Ticks(5, 9));
}

// The last recording into a file counts, whatever its stream, not an earlier one that is wiped.
TEST_F(RecoveryTest, FileThatTwoStreamsWereRecordedIntoIsLeftAlone) {
    RecordFinished(1, 5, 14, 1);
    RecordFinished(1, 25, 34, 2);
    RecordFinished(2, 5, 14, 2);
    RecordFinished(2, 25, 34, 1);
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(parts_.Contents(1), Ticks(25, 34));
    EXPECT_EQ(parts_.Contents(2), Ticks(25, 34));
}

TEST_F(RecoveryTest, FileThatTheDatabaseDoesNotKnowIsLeftAlone) {
    parts_.Load(3, Ticks(1, 4));
    parts_.Pool().MarkKnown(3, true);
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(parts_.Contents(3), Ticks(1, 4));
}

TEST_F(RecoveryTest, LengthThatWasChangedFromOutsideIsTakenOver) {
    RecordFinished(2, 5, 14);
    parts_.Load(2, Ticks(5, 9));
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(OnlyLink().size, 5U * 188);
}

TEST_F(RecoveryTest, FileThatWasEmptiedFromOutsideIsFree) {
    RecordFinished(2, 5, 14);
    parts_.Load(2, {});
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_TRUE(OnlyLink().wiped);
}

TEST_F(RecoveryTest, ControllerOfADeadWriterIsReset) {
    parts_.Pool().Set(1, pool::EntryWord::controller, 3);
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(parts_.Controller(1), StreamMgrFileMgmnt::ControlUnknown);
}

TEST_F(RecoveryTest, LinksOfAPoolThatWasLargerAreForgotten) {
    parts_.Store().BeginFile(1, 7, 1005, 5);
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_THAT(parts_.Store().Chain(1, false), IsEmpty());
}

TEST_F(RecoveryTest, SoundStateStaysAsItIs) {
    RecordFinished(1, 5, 14);
    RecordFinished(2, 15, 24);
    auto const chain = parts_.Store().Chain(1, true);
    RecoverRecordings(parts_.Session(), parts_.Store());
    EXPECT_EQ(parts_.Store().Chain(1, true), chain);
    EXPECT_EQ(parts_.Contents(1), Ticks(5, 14));
    EXPECT_EQ(parts_.Contents(2), Ticks(15, 24));
    EXPECT_THAT(parts_.Log(), IsEmpty());
}

} // namespace

// Recordings that are cut off at any moment.
#include <csignal>

#include "e2e/EventDatabase.h"
#include "powercut/Cut.h"

namespace powercut {
namespace {

class RecordingCut : public Cut {};

TEST_P(RecordingCut, OfTwoStreamsEarly) {
    CreatePool(4);
    StartRecording({{1}, {2}});
    CutAt(In(0, 1500));
    ExpectRecovery({{1}, {2}});
}

TEST_P(RecordingCut, OfTwoStreamsLate) {
    CreatePool(4);
    StartRecording({{1}, {2}});
    CutAt(In(1500, 4000));
    ExpectRecovery({{1}, {2}});
}

TEST_P(RecordingCut, OfFourStreams) {
    CreatePool(8);
    StartRecording({{1}, {2}, {3}, {4}});
    CutAt(In(1000, 3000));
    ExpectRecovery({{4}});
}

// A PCR in 0.9 s, so that 18 ticks come together and then none.
TEST_P(RecordingCut, OfAStreamWithFewTicks) {
    CreatePool(3);
    StartRecording({{1, {5300, 4770}}});
    CutAt(In(500, 3000));
    ExpectRecovery({{1}});
}

// The slots still have packets of other recordings, longer than what is recorded before the cut.
TEST_P(RecordingCut, IntoSlotsThatHeldOtherPackets) {
    CreatePool(2);
    StartRecording({{1, fastRate, true}, {3, fastRate, true}});
    CutAt(In(300, 400)); // a former cut: nothing of it need be left
    ExpectRecovery({});
    Sync();
    StartRecording({{2}});
    CutAt(In(0, 3000));
    ExpectRecovery({});
}

TEST_P(RecordingCut, IntoARingThatIsWiped) {
    CreatePool(4);
    RecordBriefly({{1, cameraRate, true},
                   {2, cameraRate, true},
                   {3, cameraRate, true},
                   {4, cameraRate, true}});
    Sync();
    StartRecording({{1, fastRate, true}});
    CutAt(In(500, 3500));
    ExpectRecovery({{1, cameraRate, true}});
}

TEST_P(RecordingCut, IntoARingOfTwoFastStreams) {
    CreatePool(4);
    RecordBriefly({{3, cameraRate, true}, {4, cameraRate, true}});
    Sync();
    StartRecording({{1, fastRate, true}, {2, fastRate, true}});
    CutAt(In(1500, 4000));
    ExpectRecovery({{1, cameraRate, true}});
}

TEST_P(RecordingCut, OfWhichSubscribersWereNotified) {
    CreatePool(3);
    Serve({{1}, {2}});
    Subscribe();
    BeginFeeds();
    CutAt(In(0, 2000));
    ExpectRecovery({{1}});
}

// The first seconds of a pool that has just been made: nothing but `d2b` has been run before.
TEST_P(RecordingCut, InTheFirstSecondsOfANewPool) {
    recorder.CreatePool(3);
    StartRecording({{1}, {2}});
    CutAt(In(0, 2500));
    ExpectRecovery({{1}});
}

// All slots but a few are full. They are sparse: what they contain is not looked at.
TEST_P(RecordingCut, OfAPoolOfAThousandFullSlots) {
    constexpr int files = 1000;
    CreatePool(files);
    recorder.StartService();
    recorder.StopService(SIGTERM);
    e2e::Rows(Database(), "WITH RECURSIVE slot(n) AS (SELECT 5 UNION ALL SELECT n + 1 FROM slot"
                          " WHERE n < 1000) INSERT INTO file (file_number, stream, start_time,"
                          " stop_time, first_tick, last_tick, size, finished)"
                          " SELECT n, 4, n, n, n, n, 98566144, 1 FROM slot");
    std::string entry(16, '\0');
    entry.replace(4, 4, std::string("\0\0\0\1", 4));
    entry.replace(12, 4, std::string("\x05\xE0\0\0", 4));
    std::string entries;
    for (int number = 5; number <= files; ++number) {
        entries += entry;
    }
    e2e::WritePiece(recorder.Pool(), 4096 + 16 * 4, entries);
    Sync();
    StartRecording({{1}, {2}});
    CutAt(In(500, 2000));
    ExpectQuickStart();
    EXPECT_EQ(e2e::Rows(Database(), "SELECT count(*), sum(size) FROM file WHERE stream = 4"),
              "996|98171879424\n");
}

// The recording had ended and its service too: nothing of it is lost any more.
TEST_P(RecordingCut, AfterItsEnd) {
    CreatePool(3);
    RecordBriefly({{1}, {2}});
    CutAt(Clock::now());
    ExpectRecovery({{1}});
}

// The second cut hits the service while it recovers from the first one.
TEST_P(RecordingCut, AndTheRecoveryToo) {
    CreatePool(8);
    RecordBriefly({{3}});
    Sync();
    StartRecording({{1}, {2}});
    CutAt(In(500, 2500));
    CutAt(In(0, 60), [&] { Run(recorder.ServiceCommand()); });
    ExpectRecovery({{1}, {2}});
}

INSTANTIATE_TEST_SUITE_P(, RecordingCut, testing::Values(Loss::power, Loss::process), NameOfLoss);

} // namespace
} // namespace powercut

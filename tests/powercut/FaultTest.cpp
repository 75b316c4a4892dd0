// Disks that fill up or fail under a recorder.
#include <sys/mount.h>

#include <csignal>
#include <thread>

#include "e2e/EventDatabase.h"
#include "e2e/Events.h"
#include "e2e/SmallDisk.h"
#include "powercut/Cut.h"

namespace powercut {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

// 16 MB/s.
constexpr PacketRate quickRate{85000, 1700};

// --- a full disk --------------------------------------------------------------------------------

// The recorder's directory is a disk of its own that has room for a second of recording.
class FullDisk : public Cut {
protected:
    void SetUp() override {
        Cut::SetUp();
        HideMounts();
        disk_.emplace(recorder.Root(), 16U << 20U);
        if (!disk_->IsMounted()) {
            GTEST_SKIP() << "only the superuser may mount a file system";
        }
        fs::permissions(recorder.Root(), fs::perms::owner_all);
    }

    void MakeRoom() const {
        ASSERT_EQ(mount("tmpfs", recorder.Root().c_str(), "tmpfs", MS_REMOUNT, "size=256m"), 0);
    }

    // Fills what is left of the disk.
    void Fill() const {
        std::ofstream rest(recorder.Root() / "rest", std::ios::binary);
        std::string const block(65536, 'x');
        while (rest.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
        }
    }

private:
    std::optional<e2e::SmallDisk> disk_;
};

TEST_P(FullDisk, StopsNoRecordingForGood) {
    CreatePool(3);
    StartRecording({{1, quickRate}, {2, cameraRate}});
    ASSERT_TRUE(recorder.Logs("No space left on device"));
    EXPECT_EQ(Tool({"-p"}).status, 0);
    MakeRoom();
    std::this_thread::sleep_for(milliseconds(1000)); // of the streams' time
    StopRecording();
    ExpectPromises();
    ExpectRecovery({{1}});
}

TEST_P(FullDisk, ThenAKillKeepsWhatWasRecorded) {
    CreatePool(3);
    StartRecording({{1, quickRate}, {2, cameraRate}});
    ASSERT_TRUE(recorder.Logs("No space left on device"));
    CutAt(In(0, 500));
    MakeRoom();
    ExpectRecovery({{1}});
}

TEST_P(FullDisk, MakesRequestsFailAndBreaksNoAnswer) {
    CreatePool(3);
    RecordBriefly({{1}, {2}});
    StartRecording({{3}});
    std::string const before = MakeEvent();
    ASSERT_NE(before, "");
    Fill();
    for (int i = 0; i < 3; ++i) {
        MakeEvent();
        Tool({"--split", before + ",94M"});
    }
    expected.undecided.insert(before);
    auto const backup = recorder.Root() / "backup";
    EXPECT_EQ(Tool({"--bkupdb", backup}).err, "backup failed\n");
    EXPECT_FALSE(fs::exists(backup));
    fs::remove(recorder.Root() / "rest");
    MakeRoom();
    EXPECT_NE(MakeEvent(), "");
    EXPECT_EQ(Tool({"--bkupdb", backup}).out, "backup successful\n");
    expected.backups[backup] = expected.events;
    std::this_thread::sleep_for(milliseconds(500)); // of the streams' time
    StopRecording();
    expected.backups[backup].erase(before);
    ExpectPromises();
}

TEST_P(FullDisk, LeavesTheLengthOfAFileThatIsWrittenOver) {
    CreatePool(3);
    std::string const content = e2e::Noise(1000000);
    recorder.Load(3, content);
    e2e::WriteFile(recorder.HardDisk() / "long.ts", e2e::Noise(30000000));
    recorder.StartService();
    EXPECT_EQ(Tool({"-y", "3,long"}).status, 99);
    EXPECT_EQ(PoolBytes(recorder.Pool()).Entry(3).length, content.size());
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    EXPECT_EQ(PoolTool({"load", "2", recorder.HardDisk() / "long.ts"}).status, 1);
    EXPECT_EQ(PoolBytes(recorder.Pool()).Entry(2).length, 0U);
}

// A log that takes nothing is no reason to stop.
TEST_P(FullDisk, OfTheLogStopsNothing) {
    CreatePool(3);
    MakeRoom();
    fs::create_symlink("/dev/full", recorder.LogPath());
    StartRecording({{1}, {2}});
    std::this_thread::sleep_for(milliseconds(500)); // of the streams' time
    EXPECT_NE(MakeEvent(), "");
    StopRecording();
    ExpectPromises();
}

INSTANTIATE_TEST_SUITE_P(, FullDisk, testing::Values(Loss::process), NameOfLoss);

// --- a disk that fails --------------------------------------------------------------------------

enum Fault : char { noFault = 0, reading = 1, writing = 2, flushing = 4 };

// Programs that are started while Fail has effect find files that fail with EIO.
class FailingDisk : public Cut {
protected:
    FailingDisk() { e2e::WriteFile(Faults(), std::string(1, noFault)); }
    ~FailingDisk() override {
        for (char const* const name :
             {"LD_PRELOAD", "STREAMMGR_FAULTS", "STREAMMGR_FAULTY_FILES"}) {
            unsetenv(name);
        }
    }

    // Programs that are started from now on can be made to fail at these files.
    void Watch(fs::path const& files) const {
        setenv("STREAMMGR_FAULTS", Faults().c_str(), 1);
        setenv("STREAMMGR_FAULTY_FILES", files.c_str(), 1);
        setenv("LD_PRELOAD", FAULTY_DISK_PATH, 1);
    }

    void Fail(int faults) const {
        e2e::WritePiece(Faults(), 0, std::string(1, static_cast<char>(faults)));
    }

    // Two streams. The disk fails for a while, until the log says so.
    void RecordWhileItFails(Fault fault) {
        CreatePool(3);
        Watch(recorder.Pool());
        StartRecording({{1}, {2}});
        recorder.WaitForData(1);
        Fail(fault);
        ASSERT_TRUE(recorder.Logs("Input/output error"));
        EXPECT_EQ(Tool({"-p"}).status, 0);
        Fail(noFault);
        std::this_thread::sleep_for(milliseconds(1000)); // of the streams' time
        StopRecording();
    }

    fs::path Faults() const { return recorder.Directory() / "faults"; }
};

TEST_P(FailingDisk, ThatTakesNoDataForAWhileLosesNothing) {
    RecordWhileItFails(writing);
    ExpectPromises();
}

TEST_P(FailingDisk, ThatCannotFlushForAWhileLosesNothing) {
    RecordWhileItFails(flushing);
    ExpectPromises();
}

TEST_P(FailingDisk, ThenAKillKeepsWhatWasRecordedBefore) {
    CreatePool(3);
    Watch(recorder.Pool());
    StartRecording({{1}, {2}});
    recorder.WaitForData(1);
    Fail(Random(2) == 0 ? writing : flushing);
    auto const failure = Clock::now();
    CutAt(In(0, 1000));
    for (FedRecording& recording : expected.recordings) {
        recording.atLeast =
            std::min(recording.atLeast, recording.feed->TakenAt(failure - milliseconds(1000)));
    }
    Fail(noFault);
    ExpectRecovery({{1}});
}

TEST_P(FailingDisk, OfTheDatabaseMakesRequestsFailAndBreaksNoAnswer) {
    CreatePool(3);
    RecordBriefly({{1}, {2}});
    Watch(Database());
    StartRecording({{3}});
    EXPECT_NE(MakeEvent(), "");
    for (int const fault : {int{writing}, int{flushing}, writing | flushing}) {
        Fail(fault);
        e2e::Outcome const outcome = Tool({"--ratf", e2e::everySince2000});
        EXPECT_EQ(outcome, (e2e::Outcome{0, "", "RATF call FAILED\n"}));
        Fail(noFault);
        EXPECT_NE(MakeEvent(), "");
    }
    std::this_thread::sleep_for(milliseconds(500)); // of the streams' time
    StopRecording();
    ExpectPromises();
}

TEST_P(FailingDisk, ThatCannotBeReadIsReported) {
    CreatePool(3);
    RecordBriefly({{1}, {2}});
    StartRecording({{3}});
    Watch(recorder.Pool());
    Fail(reading);
    e2e::Outcome const copy = Tool({"-x", "1"});
    EXPECT_EQ(copy.status, 99) << copy;
    EXPECT_TRUE(recorder.Logs("Input/output error"));
    Fail(noFault);
    StopRecording();
    ExpectPromises();
}

TEST_P(FailingDisk, LeavesTheLengthOfAFileThatIsWrittenOver) {
    CreatePool(3);
    std::string const content = e2e::Noise(1000000);
    recorder.Load(3, content);
    e2e::WriteFile(recorder.HardDisk() / "long.ts", e2e::Noise(3000000));
    recorder.StartService();
    Watch(recorder.Pool());
    for (int const fault : {int{writing}, int{flushing}}) {
        Fail(fault);
        // Deliberate: -y does not look at what becomes of the length, and the service agrees to the
        // former one.
        EXPECT_EQ(Tool({"-y", "3,long"}).status, fault == writing ? 99 : 0);
        EXPECT_EQ(PoolTool({"load", "2", recorder.HardDisk() / "long.ts"}).status, 1) << fault;
        Fail(noFault);
        EXPECT_EQ(PoolBytes(recorder.Pool()).Entry(3).length, content.size()) << fault;
        EXPECT_EQ(PoolBytes(recorder.Pool()).Entry(2).length, 0U) << fault;
    }
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
}

INSTANTIATE_TEST_SUITE_P(, FailingDisk, testing::Values(Loss::process), NameOfLoss);

} // namespace
} // namespace powercut

// Requests about events that were answered just before the end.
#include <filesystem>

#include "LinxIpc.h"
#include "StreamMgrApi.h"
#include "e2e/EventDatabase.h"
#include "e2e/Events.h"
#include "powercut/Cut.h"

namespace powercut {
namespace {

class EventCut : public Cut {
protected:
    // A recorder with a few finished files, that records two streams.
    void StartWithFiles() {
        CreatePool(8);
        RecordBriefly({{1}, {2}, {3}, {4}});
        Sync();
        StartRecording({{1}, {2}});
    }
};

TEST_P(EventCut, WhileEventsAreMade) {
    StartWithFiles();
    CutAt(In(100, 2500), [&] { MakeEvent(); });
    ExpectRecovery({{1}});
}

TEST_P(EventCut, WhileEventsAreDeleted) {
    StartWithFiles();
    CutAt(In(300, 2000), [&] {
        std::string const reid = MakeEvent();
        if (!reid.empty()) {
            expected.undecided.insert(reid);
            Tool({"-d", reid});
        }
    });
    ExpectRecovery({{1}});
}

TEST_P(EventCut, WhileEventsAreSplit) {
    StartWithFiles();
    CutAt(In(300, 2000), [&] {
        std::string const reid = MakeEvent();
        if (!reid.empty()) {
            expected.undecided.insert(reid);
            Tool({"--split", reid + ",94M"});
        }
    });
    ExpectRecovery({{1}});
}

TEST_P(EventCut, WhileTheDatabaseIsBackedUp) {
    StartWithFiles();
    int count = 0;
    CutAt(In(300, 2000), [&] {
        MakeEvent();
        auto const path = recorder.Root() / ("backup" + std::to_string(++count % 2));
        auto const events = expected.events;
        bool const isDone = Tool({"--bkupdb", path}).out == "backup successful\n";
        if (isDone) {
            expected.backups[path] = events;
        }
    });
    ExpectRecovery({{1}});
}

// By the call itself: the tool does not show the answer.
TEST_P(EventCut, WhileTagsAreSetComplete) {
    constexpr int timeoutMs = 500;
    StartWithFiles();
    setenv("STREAMMGR_ROOT", recorder.Root().c_str(), 1);
    {
        LinxIpc ipc("CutTest_" + std::to_string(getpid()));
        CutAt(In(300, 2000), [&] {
            std::string reid;
            if (StreamMgrApi::RecordAfterTheFact(ipc, 0, 2000000000, reid, timeoutMs,
                                                 StreamMgrApi::EventStreamBoth) &&
                !IsStriking()) {
                expected.events.insert(reid);
                if (StreamMgrApi::SetTagsComplete(reid, ipc, timeoutMs) && !IsStriking()) {
                    expected.tagged.insert(reid);
                }
            }
        });
    }
    unsetenv("STREAMMGR_ROOT");
    ExpectRecovery({{1}});
}

// A ring that wipes all the time leaves the held files as they are.
TEST_P(EventCut, WhileARingGoesRoundHeldFiles) {
    CreatePool(5);
    RecordBriefly({{1}, {2}, {3}});
    HoldAllFiles();
    Sync();
    StartRecording({{4, fastRate, true}});
    CutAt(In(500, 4000));
    ExpectRecovery({{4, cameraRate, true}});
}

// The event is made while its last file is still being recorded.
TEST_P(EventCut, WhileAHeldFileIsRecorded) {
    CreatePool(4);
    StartRecording({{1}, {2}});
    bool isMade = false;
    CutAt(In(1200, 3000), [&] {
        if (!isMade) {
            isMade = !MakeEvent().empty();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    ExpectRecovery({{3, fastRate, true}});
}

INSTANTIATE_TEST_SUITE_P(, EventCut, testing::Values(Loss::power, Loss::process), NameOfLoss);

} // namespace
} // namespace powercut

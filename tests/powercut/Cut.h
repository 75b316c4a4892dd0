// A recorder that is ended without warning, and what the next start finds.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "powercut/LoopDisk.h"
#include "powercut/Promises.h"

namespace powercut {

enum class Loss {
    power,  // the disk keeps only what has reached it; all processes end
    process // kill -9 of all processes
};

void PrintTo(Loss loss, std::ostream* stream);
std::string NameOfLoss(testing::TestParamInfo<Loss> const& info);

// The usual rate of a stream: 8 Mbit/s, with a PCR every 20 ms.
constexpr PacketRate cameraRate{5300, 106};

// 60 MB/s: a slot in less than two seconds.
constexpr PacketRate fastRate{320000, 6400};

struct StreamFed {
    int stream;
    PacketRate rate = cameraRate;
    bool mayBeWiped = false; // by the recordings of the test
};

// Each test cuts once or twice, at moments that follow from its seed. STREAMMGR_CUT_SEED sets the
// seed of the first test; with --gtest_repeat every repetition has another one.
// STREAMMGR_CUT_DISK is "ext4" (the default) or "xfs". STREAMMGR_CUT_RESULTS is a file that takes
// a line for each cut.
class Cut : public testing::TestWithParam<Loss> {
protected:
    Cut();
    void SetUp() override;
    void TearDown() override;

    // Makes a pool and has it on the disk.
    void CreatePool(int files);

    // Has everything on the disk that was written before the test's subject.
    void Sync() const;

    // Starts the service with these streams to record from live sources, and begins these.
    void StartRecording(std::vector<StreamFed> const& streams);

    // The same in two steps.
    void Serve(std::vector<StreamFed> const& streams);
    void BeginFeeds();

    // Stops the service as a person does. What it recorded is then expected to be there.
    void StopRecording();

    // Records for half a second.
    void RecordBriefly(std::vector<StreamFed> const& streams);

    // Makes an event; the REID that was printed, or nothing.
    std::string MakeEvent();

    // Makes an event of all that is recorded and expects its files to remain as they are.
    void HoldAllFiles();

    // Subscribes to the starts of recordings.
    void Subscribe();

    // Runs a program; it is killed when the power goes.
    e2e::Outcome Run(e2e::Command const& command);
    // Whether the cut has begun: an answer does not count any more.
    bool IsStriking() const { return isStriking_; }

    e2e::Outcome Tool(e2e::Words const& words) { return Run(recorder.ToolCommand(words)); }
    e2e::Outcome PoolTool(e2e::Words const& words) { return Run(recorder.PoolToolCommand(words)); }

    // A moment that follows from the seed.
    Clock::time_point In(int fewestMs, int mostMs);
    unsigned int Random(unsigned int end) { return static_cast<unsigned int>(random_()) % end; }

    // Cuts at a moment, and until then does the work again and again. Afterwards the disk is
    // mounted as it was left.
    void CutAt(Clock::time_point moment, std::function<void()> const& work);
    void CutAt(Clock::time_point moment);

    // Starts the service, which recovers, stops it, and checks the promises. Then it records once
    // more into these streams, and all is checked again.
    void ExpectRecovery(std::vector<StreamFed> const& streams);
    void ExpectPromises();

    // Starts the service, which recovers within a second, and stops it.
    void ExpectQuickStart();

    std::filesystem::path Database() const { return recorder.Root() / "events.db"; }

    e2e::Recorder recorder;
    Expected expected;

private:
    void End(Clock::time_point time, std::chrono::milliseconds mayBeLost);
    void Strike();
    void Remount();
    void NoteLog();

    unsigned int seed_;
    std::mt19937 random_;
    std::optional<testing::ScopedTrace> trace_;
    std::optional<LoopDisk> disk_;
    std::vector<StreamFed> streams_; // being recorded
    std::vector<std::shared_ptr<Feed>> feeds_;
    std::uint32_t runs_ = 0;
    bool isServing_ = false;
    std::unique_ptr<e2e::Child> subscriber_;
    std::mutex runningMutex_;
    e2e::Child* running_ = nullptr;
    std::atomic<bool> isStriking_ = false;
    std::atomic<bool> isCut_ = false;
    std::uintmax_t logSize_ = 0; // in bytes, when the cut began
    Clock::time_point cutTime_;
    Findings findings_;
    long restartMs_ = 0;
    int cuts_ = 0;
};

} // namespace powercut

// A recorder that is ended without warning, and what the next start finds.
#include "powercut/Cut.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <regex>
#include <sstream>
#include <thread>

#include "e2e/EventDatabase.h"
#include "e2e/Events.h"
#include "support/Stopwatch.h"

namespace powercut {
namespace {

using std::chrono::milliseconds;

// What a recorder may lose with its power, and with a kill.
constexpr milliseconds mayBeLost(1000);

// What was taken so long ago has got its ticks, whatever else the machine does.
constexpr milliseconds longestStamping(300);

// The next start is quicker.
constexpr long longestStartMs = 1000;

unsigned int NextSeed() {
    static unsigned int const first = [] {
        char const* const text = std::getenv("STREAMMGR_CUT_SEED");
        return text != nullptr ? static_cast<unsigned int>(std::stoul(text))
                               : std::random_device()() % 1000000;
    }();
    static unsigned int count = 0;
    return first + count++;
}

std::string Variable(char const* name, char const* fallback) {
    char const* const value = std::getenv(name);
    return value != nullptr ? value : fallback;
}

// The first groups of all matches of an expression.
std::vector<std::string> Matches(std::string const& text, std::string const& expression) {
    std::regex const pattern(expression);
    std::vector<std::string> matches;
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at) {
        matches.push_back((*at)[1]);
    }
    return matches;
}

std::string const reidPattern = "([0-9]{8}-[0-9]{6}:[0-9a-f]{8})";

} // namespace

void PrintTo(Loss loss, std::ostream* stream) {
    *stream << (loss == Loss::power ? "Power" : "Process");
}

std::string NameOfLoss(testing::TestParamInfo<Loss> const& info) {
    return testing::PrintToString(info.param);
}

Cut::Cut()
    : seed_(NextSeed())
    , random_(seed_) {}

void Cut::SetUp() {
    trace_.emplace(__FILE__, __LINE__, "STREAMMGR_CUT_SEED=" + std::to_string(seed_));
    if (GetParam() == Loss::process) {
        return;
    }
    static std::string const whyNot = LoopDisk::WhyNot();
    if (!whyNot.empty() && std::getenv("STREAMMGR_REQUIRE_POWERCUT") != nullptr) {
        FAIL() << "no power can be cut here: " << whyNot;
    }
    if (!whyNot.empty()) {
        GTEST_SKIP() << "no power can be cut here: " << whyNot;
    }
    disk_.emplace(Variable("STREAMMGR_CUT_DISK", "ext4"));
    Remount();
}

void Cut::TearDown() {
    std::string const results = Variable("STREAMMGR_CUT_RESULTS", "");
    if (results.empty() || IsSkipped()) {
        return;
    }
    auto const* const test = testing::UnitTest::GetInstance()->current_test_info();
    std::ofstream(results, std::ios::app)
        << test->test_suite_name() << '.' << test->name() << ' '
        << Variable("STREAMMGR_CUT_DISK", "ext4") << ' ' << seed_ << ' ' << cuts_ << ' '
        << (HasFailure() ? "failed" : "kept") << ' ' << findings_.worstLossSeconds << ' '
        << restartMs_ << '\n';
}

// --- before the cut -----------------------------------------------------------------------------

void Cut::CreatePool(int files) {
    recorder.CreatePool(files);
    Sync();
}

void Cut::Sync() const {
    workstation::FileDescriptor const root(
        open(recorder.Root().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(syncfs(root.Get()), 0);
}

void Cut::StartRecording(std::vector<StreamFed> const& streams) {
    Serve(streams);
    BeginFeeds();
}

void Cut::Serve(std::vector<StreamFed> const& streams) {
    e2e::Words words;
    for (StreamFed const& fed : streams) {
        std::uint32_t const run = ++runs_;
        auto const fifo = recorder.Directory() / ("feed" + std::to_string(run));
        feeds_.push_back(std::make_shared<Feed>(fifo, PacketName{fed.stream, run, 0}, fed.rate));
        words.insert(words.end(), {"--record", std::to_string(fed.stream) + '=' + fifo.string()});
    }
    streams_ = streams;
    recorder.StartService(words);
    isServing_ = true;
}

void Cut::BeginFeeds() {
    for (auto const& feed : feeds_) {
        feed->Begin();
    }
}

// The recordings end; what they may have lost is what was taken at last.
void Cut::End(Clock::time_point time, milliseconds lost) {
    for (std::size_t i = 0; i < feeds_.size(); ++i) {
        feeds_[i]->Stop();
        expected.recordings.push_back({feeds_[i], time, feeds_[i]->TakenAt(time - lost),
                                       feeds_[i]->TakenAt(time - longestStamping),
                                       streams_[i].mayBeWiped});
    }
    feeds_.clear();
    isServing_ = false;
}

void Cut::StopRecording() {
    constexpr milliseconds unwritten(250);
    auto const time = Clock::now();
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    End(time, unwritten);
}

void Cut::RecordBriefly(std::vector<StreamFed> const& streams) {
    StartRecording(streams);
    std::this_thread::sleep_for(milliseconds(500)); // of the streams' time
    StopRecording();
}

std::string Cut::MakeEvent() {
    std::string const reid = e2e::FirstReid(Tool({"--ratf", e2e::everySince2000}).out);
    if (!reid.empty()) {
        expected.events.insert(reid);
    }
    return reid;
}

void Cut::HoldAllFiles() {
    recorder.StartService();
    std::string const reid = MakeEvent();
    ASSERT_NE(reid, "");
    ASSERT_EQ(recorder.StopService(SIGTERM).status, 0);
    PoolBytes const pool(recorder.Pool());
    std::istringstream rows(e2e::Rows(
        Database(), "SELECT file.id, file_number, size FROM file JOIN event_file ON file = file.id"
                    " JOIN event ON event.id = event WHERE reid = '" +
                        reid + "'"));
    std::string row;
    int number = 0;
    std::uint32_t size = 0;
    char bar = 0;
    while (std::getline(rows, row, '|') && rows >> number >> bar >> size >> std::ws) {
        expected.held.push_back({reid, row, number, pool.Data(number, size)});
    }
    ASSERT_FALSE(expected.held.empty());
}

void Cut::Subscribe() {
    subscriber_ = std::make_unique<e2e::Child>(recorder.ToolCommand({"-c"}));
    std::string const name = "StreamMgrCli_" + std::to_string(subscriber_->Pid());
    ASSERT_TRUE(recorder.Logs("subscription requested by " + name + '\n', 3));
}

e2e::Outcome Cut::Run(e2e::Command const& command) {
    e2e::Child child(command);
    {
        std::lock_guard const lock(runningMutex_);
        running_ = &child;
        if (isCut_) {
            child.Signal(SIGKILL);
        }
    }
    e2e::Outcome const outcome = child.Finish();
    std::lock_guard const lock(runningMutex_);
    running_ = nullptr;
    return isStriking_ ? e2e::Outcome{-SIGKILL, "", ""} : outcome;
}

// --- the cut ------------------------------------------------------------------------------------

Clock::time_point Cut::In(int fewestMs, int mostMs) {
    auto const range = static_cast<unsigned int>(mostMs - fewestMs) + 1;
    return Clock::now() + milliseconds(fewestMs + static_cast<int>(Random(range)));
}

// Nothing that happens from the first lines on counts, neither as recorded nor as answered: a file
// system that is being stopped may report success for what it does not keep.
void Cut::Strike() {
    isStriking_ = true;
    cutTime_ = Clock::now();
    logSize_ = recorder.Log().size();
    if (GetParam() == Loss::power) {
        disk_->CutPower();
    }
    if (isServing_) {
        recorder.Service().Signal(SIGKILL);
    }
    std::lock_guard const lock(runningMutex_);
    isCut_ = true;
    if (running_ != nullptr) {
        running_->Signal(SIGKILL);
    }
}

void Cut::CutAt(Clock::time_point moment, std::function<void()> const& work) {
    isCut_ = false;
    isStriking_ = false;
    ++cuts_;
    std::thread cutter([&] {
        std::this_thread::sleep_until(moment);
        Strike();
    });
    while (!isCut_) {
        work();
    }
    cutter.join();
    subscriber_.reset();
    if (isServing_) {
        recorder.StopService(SIGKILL);
    }
    End(cutTime_, mayBeLost);
    NoteLog();
    Remount();
    isCut_ = false;
    isStriking_ = false;
}

void Cut::CutAt(Clock::time_point moment) {
    CutAt(moment, [&] { std::this_thread::sleep_for(milliseconds(1)); });
}

void Cut::Remount() {
    if (disk_) {
        disk_->Unmount();
        disk_->Mount(recorder.Root());
        std::filesystem::permissions(recorder.Root(), std::filesystem::perms::owner_all);
    }
}

// The log is on another disk. The service writes there what it has done.
void Cut::NoteLog() {
    std::string const log = recorder.Log().substr(0, logSize_);
    for (auto const& reid : Matches(log, "deleted event " + reidPattern)) {
        expected.deleted.insert(reid);
    }
    for (auto const& reid :
         Matches(log, "event " + reidPattern + " now stands as ([2-9]|[0-9]{2,})")) {
        expected.deleted.insert(reid);
    }
    for (auto const& reid : Matches(log, "  event " + reidPattern)) {
        expected.events.insert(reid);
    }
    for (auto const& reid : Matches(log, "Record start, reid " + reidPattern)) {
        expected.notified.insert(reid);
    }
}

// --- after the cut ------------------------------------------------------------------------------

void Cut::ExpectPromises() {
    Findings const found = ExpectPromisesKept(recorder, expected);
    findings_.worstLossSeconds = std::max(findings_.worstLossSeconds, found.worstLossSeconds);
}

void Cut::ExpectQuickStart() {
    Stopwatch const start;
    recorder.StartService();
    restartMs_ = std::max(restartMs_, start.ElapsedMs());
    EXPECT_LT(restartMs_, longestStartMs);
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
}

void Cut::ExpectRecovery(std::vector<StreamFed> const& streams) {
    ExpectQuickStart();
    {
        SCOPED_TRACE("after the restart");
        ExpectPromises();
    }
    e2e::Outcome const check = recorder.PoolTool({"check"});
    EXPECT_EQ(check.status, 0) << check;
    if (!streams.empty()) {
        SCOPED_TRACE("after the next recording");
        RecordBriefly(streams);
        ExpectPromises();
    }
}

} // namespace powercut

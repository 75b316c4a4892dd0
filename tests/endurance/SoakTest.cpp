// A recorder at work for a long time: sources that come and go at random, with requests,
// subscribers and exports beside them. Nothing is lost, and the service does not grow.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "e2e/Events.h"
#include "e2e/Recorder.h"
#include "e2e/RtpSender.h"
#include "endurance/Amount.h"
#include "endurance/RecordedStreams.h"

namespace endurance {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr powercut::PacketRate rate{1330, 26}; // 2 Mbit/s, a PCR every 20 ms
constexpr std::uint64_t step = 28;             // packets that are sent together: four datagrams

// A source that sends for a while, is away for a while, and goes on with the next packet.
class Source {
public:
    Source(int stream, Clock::time_point end)
        : stream_(stream)
        , end_(end)
        , random_(static_cast<unsigned int>(stream)) {}
    virtual ~Source() = default;

    void Run() {
        while (Clock::now() < end_) {
            Come();
            auto const leave = std::min(end_, Clock::now() + Random(500ms, 15s));
            for (auto due = Clock::now(); due < leave;
                 due += 1000000us * step / rate.packetsPerSecond) {
                std::this_thread::sleep_until(due);
                Send(NextPackets());
            }
            Go();
            std::this_thread::sleep_until(std::min(end_, Clock::now() + Random(0ms, 14s)));
        }
    }

    std::uint64_t Sent() const { return next_; } // packets

protected:
    virtual void Come() {}
    virtual void Send(std::string const& packets) = 0;
    virtual void Go() {}

private:
    std::chrono::milliseconds Random(std::chrono::milliseconds least,
                                     std::chrono::milliseconds most) {
        return std::chrono::milliseconds(
            std::uniform_int_distribution<long>(least.count(), most.count())(random_));
    }
    std::string NextPackets() {
        std::string packets;
        for (std::uint64_t i = 0; i < step; ++i) {
            auto const packet = powercut::SequencePacket({stream_, 1, next_++}, rate);
            packets.append(packet.begin(), packet.end());
        }
        return packets;
    }

    int stream_;
    Clock::time_point end_;
    std::mt19937 random_;
    std::uint64_t next_ = 0;
};

// The writer of a FIFO, which the service reads itself or through a command.
class Fifo : public Source {
public:
    Fifo(int stream, Clock::time_point end, fs::path path)
        : Source(stream, end)
        , path_(std::move(path)) {
        EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
    }

protected:
    void Come() override { writer_.Reset(open(path_.c_str(), O_WRONLY | O_CLOEXEC)); }
    void Send(std::string const& packets) override {
        for (std::size_t done = 0; done < packets.size();) {
            ssize_t const size = write(writer_.Get(), packets.data() + done, packets.size() - done);
            ASSERT_GT(size, 0);
            done += static_cast<std::size_t>(size);
        }
    }
    void Go() override { writer_.Reset(); }

private:
    fs::path path_;
    workstation::FileDescriptor writer_;
};

class Datagrams : public Source {
public:
    using Source::Source;
    e2e::RtpSender const& Sender() const { return sender_; }

protected:
    void Send(std::string const& packets) override {
        std::size_t const size = packets.size() / 4;
        for (std::size_t at = 0; at < packets.size(); at += size) {
            sender_.Send(number_++, packets.substr(at, size));
        }
    }

private:
    e2e::RtpSender sender_;
    int number_ = 0;
};

// What the service has of the system.
struct Use {
    long memoryKiB = 0;
    long descriptors = 0;

    void Grow(Use const& other) {
        memoryKiB = std::max(memoryKiB, other.memoryKiB);
        descriptors = std::max(descriptors, other.descriptors);
    }
};

Use UseOf(pid_t pid) {
    fs::path const process = "/proc/" + std::to_string(pid);
    Use use;
    std::ifstream status(process / "status");
    for (std::string word; status >> word;) {
        if (word == "RssAnon:") { // mapped tables are not the service's own
            status >> use.memoryKiB;
        }
    }
    use.descriptors = std::distance(fs::directory_iterator(process / "fd"), {});
    return use;
}

class Soak : public testing::Test {
protected:
    // Does one thing that a person may do beside the recordings, and expects that it works.
    void DoSomething(std::mt19937& random) {
        switch (random() % 9) {
        case 0:
            ExpectStatus({0}, recorder.Tool({"-p", "-i", "-S"}));
            break;
        case 1:
            HoldAndRelease();
            break;
        case 2:
            ExpectStatus({0}, recorder.Tool({"-f", std::to_string(random() % 4), "-r"}));
            break;
        case 3:
            Subscribe();
            break;
        case 4:
            Export(random);
            break;
        case 5:
            ExpectStatus({0}, recorder.Tool({"--lsm", "--lproc"}));
            break;
        case 6:
            ExpectStatus({0}, recorder.PoolTool({"list", "streams"}));
            break;
        case 7:
            ExpectStatus({0}, recorder.Tool({"--bkupdb", recorder.Directory() / "backup"}));
            fs::remove(recorder.Directory() / "backup");
            break;
        default:
            ExpectStatus({0, 3}, recorder.PoolTool({"status", "--json"}));
        }
    }

    static void ExpectStatus(std::vector<int> const& possible, e2e::Outcome const& outcome) {
        EXPECT_TRUE(std::ranges::count(possible, outcome.status) == 1) << outcome;
    }
    void HoldAndRelease() const {
        std::string const reid = e2e::MakeEvent(recorder, e2e::everySince2000);
        ExpectStatus({0}, recorder.Tool({"-d", reid}));
    }
    void Subscribe() const {
        e2e::Child subscriber(recorder.ToolCommand({"-c"}));
        ASSERT_TRUE(recorder.Logs("subscription requested by StreamMgrCli_" +
                                      std::to_string(subscriber.Pid()) + '\n',
                                  3));
        subscriber.Signal(SIGINT);
        ExpectStatus({255}, subscriber.Finish());
    }
    // The last seconds of a stream, which is being recorded. They may have gaps, or not be there
    // yet.
    void Export(std::mt19937& random) const {
        std::time_t const now = std::time(nullptr);
        fs::path const out = recorder.HardDisk() / "export.ts";
        auto const outcome =
            recorder.PoolTool({"export", "--stream", std::to_string(1 + random() % 4), "--from",
                               "@" + std::to_string(now - 10), "--to", "@" + std::to_string(now),
                               "-o", out, "--force"});
        ExpectStatus({0, 1, 3}, outcome);
        if (outcome.status != 1) {
            ExpectStatus({0}, recorder.PoolTool({"verify", out.string() + ".json"}));
        }
    }

    // Waits until so many sources are gone.
    void AwaitWaiting(std::ptrdiff_t count) const {
        auto const deadline = Clock::now() + e2e::patience;
        std::ptrdiff_t waiting = 0;
        for (; waiting < count && Clock::now() < deadline; std::this_thread::sleep_for(20ms)) {
            auto const status = json::parse(recorder.PoolTool({"status", "--json"}).out);
            waiting = std::ranges::count(status.at("streams"), "waiting",
                                         [](json const& stream) { return stream.at("state"); });
        }
        ASSERT_GE(waiting, count);
    }

    e2e::Recorder recorder;
};

TEST_F(Soak, NothingIsLostAndNothingGrows) {
    std::chrono::seconds const duration(Amount("STREAMMGR_SOAK_SECONDS", 20));
    auto const bytes = rate.packetsPerSecond * 188 * static_cast<std::uint64_t>(duration.count());
    recorder.CreatePool(4 * (static_cast<int>(bytes / e2e::slotSize) + 2));
    auto const begin = Clock::now();
    auto const end = begin + duration;
    Fifo fifo(1, end, recorder.Directory() / "one");
    Fifo command(2, end, recorder.Directory() / "two");
    Fifo other(3, end, recorder.Directory() / "three");
    Datagrams datagrams(4, end);
    recorder.StartService({"--record", "1=" + (recorder.Directory() / "one").string(), "--record",
                           "2=exec:cat " + (recorder.Directory() / "two").string(), "--record",
                           "3=" + (recorder.Directory() / "three").string(), "--record",
                           "4=" + datagrams.Sender().Source()});
    ASSERT_TRUE(datagrams.Sender().AwaitReceiver());
    std::vector<std::thread> threads;
    std::vector<Source*> const sources{&fifo, &command, &other, &datagrams};
    for (Source* const source : sources) {
        threads.emplace_back([source] { source->Run(); });
    }

    std::mt19937 random(7);
    Use early;
    Use late;
    while (Clock::now() < end) {
        DoSomething(random);
        (Clock::now() < begin + duration / 2 ? early : late).Grow(UseOf(recorder.Service().Pid()));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_TRUE(datagrams.Sender().AwaitRead());
    EXPECT_LE(late.memoryKiB, early.memoryKiB + early.memoryKiB / 10 + 512);
    EXPECT_LE(late.descriptors, early.descriptors + 2);
    RecordProperty("MemoryKiB",
                   std::to_string(early.memoryKiB) + " " + std::to_string(late.memoryKiB));
    AwaitWaiting(3); // which read what was left
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);

    auto const streams = RecordedStreams(recorder.Pool());
    ASSERT_EQ(streams.size(), sources.size());
    for (std::size_t i = 0; i < sources.size(); ++i) {
        auto const& packets = streams.at(static_cast<int>(i) + 1);
        for (std::size_t at = 0; at < packets.size(); ++at) {
            ASSERT_EQ(packets[at].index, at) << "stream " << i + 1;
        }
        EXPECT_EQ(packets.size(), sources[i]->Sent()) << "stream " << i + 1;
    }
}

} // namespace
} // namespace endurance

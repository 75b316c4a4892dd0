// A network camera whose connection is cut again and again: its recording goes on soon after it is
// back, and the other stream loses nothing. The camera is an RTSP server, VLC.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "e2e/Recorder.h"
#include "endurance/Amount.h"
#include "endurance/RecordedStreams.h"
#include "powercut/Feed.h"

namespace endurance {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr std::chrono::seconds longestReturn = 10s;

bool IsInstalled(std::string const& program) {
    return e2e::RunToEnd({{"/bin/sh", "-c", "command -v " + program}}).status == 0;
}

// That no other process used a moment ago.
int FreePort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    workstation::FileDescriptor const probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(bind(probe.Get(), reinterpret_cast<sockaddr const*>(&address), size), 0);
    EXPECT_EQ(getsockname(probe.Get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    return ntohs(address.sin_port);
}

// Serves minutes of the clip from their beginning on.
class Camera {
public:
    explicit Camera(fs::path const& directory)
        : directory_(directory)
        , port_(FreePort()) {
        fs::create_directory(directory_);
        fs::permissions(directory_, fs::perms(0755));
        fs::path const clip = directory_ / "clip.ts";
        EXPECT_EQ(e2e::RunToEnd({{REPEAT_CLIP, "37600000", clip}}).status, 0);
        fs::permissions(clip, fs::perms(0644));
    }

    std::string Address() const { return "rtsp://127.0.0.1:" + std::to_string(port_) + "/camera"; }

    // Waits until it serves.
    void Start() {
        std::vector<std::string> words{"cvlc",
                                       "--quiet",
                                       "--no-dbus",
                                       "--rtsp-host=127.0.0.1",
                                       directory_ / "clip.ts",
                                       "--sout",
                                       "#rtp{sdp=rtsp://:" + std::to_string(port_) + "/camera}"};
        if (geteuid() == 0) { // VLC refuses to run as root
            words.insert(words.begin(), {"setpriv", "--reuid=65534", "--clear-groups"});
        }
        server_ = std::make_unique<e2e::Child>(e2e::Command{words, {{"HOME", "/nonexistent"}}});
        auto const deadline = std::chrono::steady_clock::now() + e2e::patience;
        while (!Listens()) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            poll(nullptr, 0, 20);
        }
    }

    // It is gone, and its connections with it.
    void Cut() { server_.reset(); }

private:
    bool Listens() const {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port_));
        workstation::FileDescriptor const probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        return connect(probe.Get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) ==
               0;
    }

    fs::path directory_;
    int port_;
    std::unique_ptr<e2e::Child> server_;
};

// The times of the ticks after which more than a second passed, and of those that follow.
struct Gap {
    std::int32_t from;
    std::int32_t to;
};

std::vector<Gap> GapsOfTheCamera(fs::path const& path) {
    powercut::PoolBytes const pool(path);
    std::vector<Gap> gaps;
    for (int slot = 1; slot <= pool.FileCount(); ++slot) {
        std::vector<powercut::FoundTick> ticks;
        bool isOther = false;
        pool.ForEachPacket(slot, pool.Entry(slot).length, [&](powercut::FoundPacket const& packet) {
            isOther = isOther || packet.name;
            if (packet.tick) {
                ticks.push_back(*packet.tick);
            }
        });
        for (std::size_t i = 1; !isOther && i < ticks.size(); ++i) {
            EXPECT_EQ(ticks[i].number, ticks[i - 1].number + 1);
            if (ticks[i].time - ticks[i - 1].time > 1) {
                gaps.push_back({ticks[i - 1].time, ticks[i].time});
            }
        }
    }
    return gaps;
}

TEST(CameraCut, IsRecordedAgainWithinTenSecondsOfItsReturn) {
    if (!IsInstalled("cvlc")) {
        ASSERT_EQ(std::getenv("STREAMMGR_CAMERA_CUTS"), nullptr) << "VLC is not installed";
        GTEST_SKIP() << "VLC is not installed";
    }
    int const cuts = Amount("STREAMMGR_CAMERA_CUTS", 2);
    e2e::Recorder recorder;
    recorder.CreatePool(40);
    fs::permissions(recorder.Directory(), fs::perms(0711)); // another user serves the clip
    Camera camera(recorder.Directory() / "camera");
    auto const other = std::make_unique<powercut::Feed>(recorder.Directory() / "other",
                                                        powercut::PacketName{2, 1, 0},
                                                        powercut::PacketRate{1330, 26});
    camera.Start();
    recorder.StartService({"--record",
                           "1=exec:ffmpeg -v error -analyzeduration 500000 -i " + camera.Address() +
                               " -c copy -f mpegts -",
                           "--record", "2=" + other->Path().string()});
    other->Begin();
    ASSERT_TRUE(recorder.Logs("stream 1: recording into stream file"));

    std::mt19937 random(1);
    std::vector<std::time_t> returns;
    for (int cut = 1; cut <= cuts; ++cut) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2000 + random() % 2000)); // pictures
        camera.Cut();
        ASSERT_TRUE(recorder.Logs("stream 1: exec:ffmpeg is gone", cut));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 12000));
        camera.Start();
        returns.push_back(std::time(nullptr));
        ASSERT_TRUE(recorder.Logs("stream 1: exec:ffmpeg is back", cut));
    }
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    other->Stop();

    auto const gaps = GapsOfTheCamera(recorder.Pool());
    ASSERT_EQ(gaps.size(), returns.size());
    for (std::size_t i = 0; i < gaps.size(); ++i) {
        EXPECT_LE(gaps[i].to - returns[i], longestReturn.count()) << "cut " << i + 1;
    }
    auto const packets = RecordedStreams(recorder.Pool()).at(2);
    for (std::size_t i = 0; i < packets.size(); ++i) {
        ASSERT_EQ(packets[i].index, i);
    }
    EXPECT_GT(packets.size(), 1330U * 2 * static_cast<unsigned int>(cuts));
}

} // namespace
} // namespace endurance

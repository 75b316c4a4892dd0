// Datagrams that are lost and reordered on their way: d2b scan names each lost packet and nothing
// else.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>

#include <nlohmann/json.hpp>

#include "e2e/Recorder.h"
#include "e2e/RtpSender.h"
#include "endurance/Amount.h"
#include "endurance/RecordedStreams.h"

namespace endurance {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using workstation::ts::tsPacketSize;

constexpr int packetsPerDatagram = 7;
constexpr powercut::PacketRate rate{6649, 133}; // 10 Mbit/s, a PCR every 20 ms

// Sends a stream at its rate. One of 100 datagrams is lost, one of 100 comes after the next one.
class LossySender {
public:
    LossySender(int stream, int seconds)
        : stream_(stream)
        , count_(static_cast<int>(rate.packetsPerSecond) * seconds / packetsPerDatagram)
        , random_(static_cast<unsigned int>(stream)) {}

    e2e::RtpSender const& Sender() const { return sender_; }
    std::set<std::uint64_t> const& Lost() const { return lost_; } // packets
    std::uint64_t Packets() const {
        return static_cast<std::uint64_t>(count_) * packetsPerDatagram;
    }

    void SendAll() {
        auto const start = std::chrono::steady_clock::now();
        for (int number = 0; number < count_; ++number) {
            std::this_thread::sleep_until(start + number * 1000000us * packetsPerDatagram /
                                                      rate.packetsPerSecond);
            Send(number);
        }
    }

private:
    // The first ones and the last ones arrive, and in order: they say where the stream begins and
    // ends.
    void Send(int number) {
        bool const isAtAnEnd = number < 2 || number >= count_ - 2;
        auto const chance = isAtAnEnd ? 99UL : random_() % 100;
        if (chance == 0) {
            for (int i = 0; i < packetsPerDatagram; ++i) {
                lost_.insert(static_cast<std::uint64_t>(number) * packetsPerDatagram +
                             static_cast<unsigned int>(i));
            }
        } else if (chance == 1 && heldBack_ < 0) {
            heldBack_ = number;
        } else {
            sender_.Send(number, Payload(number));
            if (heldBack_ >= 0) {
                sender_.Send(heldBack_, Payload(heldBack_));
                heldBack_ = -1;
            }
        }
    }

    std::string Payload(int number) const {
        std::string payload;
        for (int i = 0; i < packetsPerDatagram; ++i) {
            std::uint64_t const index = static_cast<std::uint64_t>(number) * packetsPerDatagram +
                                        static_cast<unsigned int>(i);
            auto const packet = powercut::SequencePacket({stream_, 1, index}, rate);
            payload.append(packet.begin(), packet.end());
        }
        return payload;
    }

    int stream_;
    int count_; // datagrams
    std::mt19937 random_;
    e2e::RtpSender sender_;
    std::set<std::uint64_t> lost_;
    int heldBack_ = -1; // the number of a datagram
};

// Slot, offset, PID, packets missing.
using Jump = std::tuple<int, std::uint64_t, int, std::uint64_t>;

std::set<Jump> JumpsIn(std::map<int, std::vector<RecordedPacket>> const& streams) {
    std::set<Jump> jumps;
    for (auto const& [stream, packets] : streams) {
        for (std::size_t i = 1; i < packets.size(); ++i) {
            RecordedPacket const& packet = packets[i];
            std::uint64_t const missing = packet.index - packets[i - 1].index - 1;
            if (missing > 0 && packet.slot == packets[i - 1].slot) {
                jumps.insert({packet.slot, packet.offset, 0x100 + stream, missing % 16});
            }
        }
    }
    return jumps;
}

std::set<Jump> JumpsNamed(json const& scan) {
    std::set<Jump> jumps;
    for (json const& slot : scan.at("slots")) {
        for (json const& fault : slot.at("faults")) {
            EXPECT_EQ(fault.at("kind"), "continuity") << fault;
            jumps.insert({slot.at("slot"), fault.at("offset"), fault.at("pid"),
                          fault.at("missing").get<std::uint64_t>()});
        }
    }
    return jumps;
}

TEST(DatagramLoss, ScanNamesEachLostPacketAndNothingElse) {
    int const seconds = Amount("STREAMMGR_LOSS_SECONDS", 10);
    auto const slots = static_cast<int>(rate.packetsPerSecond * tsPacketSize *
                                        static_cast<unsigned int>(seconds) / e2e::slotSize);
    e2e::Recorder recorder;
    recorder.CreatePool(4 * (slots + 2));
    std::vector<std::unique_ptr<LossySender>> senders;
    e2e::Words options;
    for (int stream = 1; stream <= 4; ++stream) {
        senders.push_back(std::make_unique<LossySender>(stream, seconds));
        options.insert(options.end(), {"--record", std::to_string(stream) + "=" +
                                                       senders.back()->Sender().Source()});
    }
    recorder.StartService(options);
    std::vector<std::thread> threads;
    for (auto const& sender : senders) {
        ASSERT_TRUE(sender->Sender().AwaitReceiver());
        threads.emplace_back([&sender] { sender->SendAll(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (auto const& sender : senders) {
        ASSERT_TRUE(sender->Sender().AwaitRead());
    }
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);

    auto const streams = RecordedStreams(recorder.Pool());
    ASSERT_EQ(streams.size(), 4U);
    for (int stream = 1; stream <= 4; ++stream) {
        LossySender const& sender = *senders.at(static_cast<std::size_t>(stream - 1));
        EXPECT_FALSE(sender.Lost().empty());
        std::set<std::uint64_t> missing;
        std::uint64_t next = 0;
        for (RecordedPacket const& packet : streams.at(stream)) {
            ASSERT_GE(packet.index, next) << "stream " << stream << " is out of order";
            for (; next < packet.index; ++next) {
                missing.insert(next);
            }
            ++next;
        }
        EXPECT_EQ(next, sender.Packets()) << "stream " << stream;
        EXPECT_EQ(missing, sender.Lost()) << "stream " << stream;
    }
    e2e::Outcome const scan = recorder.PoolTool({"scan", "--json"});
    EXPECT_EQ(scan.status, 3) << scan.err;
    EXPECT_EQ(JumpsNamed(json::parse(scan.out)), JumpsIn(streams));
}

} // namespace
} // namespace endurance

// Messages to the service that no tool would send.
#include <gtest/gtest.h>

#include <csignal>
#include <list>

#include "EventDatabase.h"
#include "Events.h"
#include "Intruder.h"

namespace e2e {
namespace {

constexpr std::uint32_t quit = 0x500;

// Every request there is but the one that ends the service, and ids around them.
std::vector<std::uint32_t> RequestIds() {
    std::vector<std::uint32_t> ids{0, 0x4FF, 0x501, 0x3602, 0x3603, 0x360E, 0x360F, 0x363A};
    for (std::uint32_t id = 0x3680; id <= 0x369F; ++id) {
        ids.push_back(id);
    }
    ids.push_back(0xFFFFFFFF);
    return ids;
}

std::vector<std::string> Payloads() {
    return {"",
            std::string(1, '\0'),
            std::string(1, '\xFF'),
            Word(0xFFFFFFFF),
            Word(0xFFFFFFFF) + "abc",
            Word(5) + "abc",
            Word(0x7FFFFFFF) + Word(0x80000000) + Word(3),
            std::string(1000, '\xFF'),
            Noise(65536)};
}

std::vector<std::string> Hostile() {
    std::vector<std::string> datagrams = Malformed(quit);
    for (std::uint32_t const id : RequestIds()) {
        for (std::string const& payload : Payloads()) {
            datagrams.push_back(Message(id, payload));
        }
    }
    return datagrams;
}

class HostileMessage : public testing::TestWithParam<char const*> {
protected:
    HostileMessage() {
        recorder.CreatePool(2);
        recorder.StartService({"--record", "1=" CLIP_PATH, "--fast"});
        EXPECT_TRUE(recorder.Logs(" stopped\n"));
        reid = MakeEvent(recorder, everySince2000);
        before = Everything(Database());
    }

    std::filesystem::path Database() const { return recorder.Root() / "events.db"; }

    void ExpectThatTheServiceServes() {
        EXPECT_EQ(recorder.Tool({"-s", "3", "-p", "-i", "-S"}).status, 0);
        EXPECT_EQ(Everything(Database()), before);
        EXPECT_EQ(Faults(Database()), "");
        MakeEvent(recorder, everySince2000);
        EXPECT_EQ(recorder.Tool({"-q"}).status, 0);
        EXPECT_EQ(recorder.Service().Finish(), (Outcome{0, "StreamMgr: ready\n", ""}));
    }

    Recorder recorder;
    std::string reid;
    std::string before;
};

TEST_P(HostileMessage, DoesNotKeepTheServiceFromServing) {
    Intruder const intruder(recorder, GetParam());
    for (std::string const& datagram : Hostile()) {
        intruder.Send(datagram);
    }
    ExpectThatTheServiceServes();
}

// Messages of a sender without a name, or with an invalid one, are ignored.
INSTANTIATE_TEST_SUITE_P(Service, HostileMessage, testing::Values("Intruder", "", ".hidden"));

// The answers fill the intruders' queues, and then have nowhere to go. All that is unread would
// also fill the buffer of one socket that it was sent from.
TEST_F(HostileMessage, OfManyWhoNeverListenDoesNotStopTheService) {
    std::list<Intruder> intruders;
    for (int number = 1; number <= 60; ++number) {
        Intruder const& intruder =
            intruders.emplace_back(recorder, "Deaf" + std::to_string(number));
        for (std::uint32_t const subscription : {10U, 11U, 12U}) {
            intruder.Send(Message(0x3684, Word(subscription) + Word(0x3614) + Word(0)));
        }
        for (int request = 0; request < 20; ++request) {
            intruder.Send(Message(0x3680, ""));
        }
    }
    ExpectThatTheServiceServes();
}

} // namespace
} // namespace e2e

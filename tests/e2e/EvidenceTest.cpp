// The verbs of the pool tool that show what is in a pool, beside a service that records.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include <nlohmann/json.hpp>

#include "Recorder.h"

namespace e2e {
namespace {

// A small ring that turns as fast as it can.
class RingEvidence : public testing::Test {
protected:
    RingEvidence() {
        recorder.CreatePool(3);
        recorder.StartService({"--record", "1=" CLIP_PATH, "--fast", "--loop"});
        EXPECT_TRUE(recorder.Logs("recording into stream file 1\n", 2));
    }

    nlohmann::json List() const {
        Outcome const outcome = recorder.PoolTool({"list", "--json"});
        EXPECT_EQ(outcome.status, 0) << outcome;
        EXPECT_EQ(outcome.err, "");
        return nlohmann::json::parse(outcome.out)["slots"];
    }

    Recorder recorder;
};

TEST_F(RingEvidence, EverySlotIsOfTheRecordingWhileItTurns) {
    for (int i = 0; i < 20; ++i) {
        auto const slots = List();
        ASSERT_EQ(slots.size(), 3U);
        for (auto const& slot : slots) {
            EXPECT_NE(slot["state"], "unknown") << slot;
            if (slot["state"] == "finished") {
                EXPECT_EQ(slot["stream"], 1);
                EXPECT_FALSE(slot["first_tick"].is_null());
            }
        }
    }
}

TEST_F(RingEvidence, AfterAKillAtMostOneSlotIsRecordingUntilTheNextStart) {
    recorder.StopService(SIGKILL);
    auto const isRecording = [](nlohmann::json const& slot) {
        return slot["state"] == "recording";
    };
    auto const killed = List();
    EXPECT_LE(std::count_if(killed.begin(), killed.end(), isRecording), 1);
    recorder.StartService();
    auto const recovered = List();
    EXPECT_EQ(std::count_if(recovered.begin(), recovered.end(), isRecording), 0);
    // The start adds what was written and not stated yet.
    for (std::size_t i = 0; i < recovered.size(); ++i) {
        EXPECT_GE(recovered[i]["bytes"], killed[i]["bytes"]);
        if (killed[i]["bytes"] > 0) {
            EXPECT_EQ(recovered[i]["first_tick"], killed[i]["first_tick"]);
        }
    }
}

} // namespace
} // namespace e2e

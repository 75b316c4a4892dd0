// The verbs of the pool tool that show what is in a pool, beside a service that records.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "Recorder.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// An exported file, of whatever is recorded from the clip again and again.
class ExportedFile {
public:
    explicit ExportedFile(Recorder const& recorder)
        : recorder_(recorder)
        , directory_(recorder.Directory() / "exported")
        , path_(directory_ / "out.ts") {
        fs::create_directory(directory_);
    }

    Outcome Export(Words words) const {
        words.insert(words.begin(), "export");
        words.insert(words.end(), {"-o", path_, "--force"});
        return recorder_.PoolTool(words);
    }

    bool IsGone() const { return fs::is_empty(directory_); }
    void Remove() const {
        fs::remove_all(directory_);
        fs::create_directory(directory_);
    }
    std::size_t Size() const { return fs::file_size(path_); }

    // Every packet is in its place, and no tick is missing.
    void ExpectUninterrupted() const {
        EXPECT_EQ(recorder_.PoolTool({"verify", path_.string() + ".json"}).status, 0);
        std::string const bytes = ReadFile(path_);
        auto const ticks = Numbers(TicksIn(bytes));
        ASSERT_FALSE(ticks.empty());
        EXPECT_EQ(ticks, NumbersFrom(ticks.front(), ticks.size()));
        std::string const packets = WithoutTicks(bytes);
        std::string const clip = Clip();
        std::size_t place = (clip + clip).find(packets.substr(0, 40 * packetSize));
        ASSERT_NE(place, std::string::npos);
        for (std::size_t done = 0; done < packets.size();) {
            std::size_t const count = std::min(clip.size() - place, packets.size() - done);
            ASSERT_EQ(packets.compare(done, count, clip, place, count), 0) << done;
            done += count;
            place = 0;
        }
        auto const manifest = nlohmann::json::parse(ReadFile(path_.string() + ".json"));
        EXPECT_TRUE(manifest["gaps"].empty());
        for (auto const& fault : manifest["faults"]) {
            EXPECT_EQ(fault["kind"], "continuity"); // where the clip begins again
        }
    }

private:
    Recorder const& recorder_;
    fs::path directory_;
    fs::path path_;
};

// A recording in real time.
TEST(GrowingRecording, IsListedAndExportedUpToItsStatedLength) {
    Recorder recorder;
    recorder.CreatePool(2);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--loop"});
    recorder.WaitForData(1);
    auto const listed = [&](std::string const& what) {
        Outcome const outcome = recorder.PoolTool({"list", what, "--json"});
        EXPECT_EQ(outcome.status, 0) << outcome;
        return nlohmann::json::parse(outcome.out)[what][0];
    };
    auto const recording = listed("recordings");
    EXPECT_TRUE(recording["to"].is_null());
    ExportedFile const file(recorder);
    std::size_t const first = listed("slots")["bytes"];
    std::size_t last = first;
    for (int growths = 0; growths < 3;) {
        auto const before = listed("slots");
        ASSERT_EQ(before["state"], "recording");
        Outcome const exported = file.Export({recording["reid"]});
        ASSERT_TRUE(exported.status == 0 || exported.status == 3) << exported;
        file.ExpectUninterrupted();
        EXPECT_GE(file.Size(), before["bytes"]);
        EXPECT_LE(file.Size(), listed("slots")["bytes"]);
        growths += file.Size() > last ? 1 : 0;
        last = file.Size();
    }
    EXPECT_GT(last, first);
}

// A small ring that turns as fast as it can.
class RingEvidence : public testing::Test {
protected:
    RingEvidence() {
        recorder.CreatePool(slots);
        recorder.StartService({"--record", "1=" CLIP_PATH, "--fast", "--loop"});
        EXPECT_TRUE(recorder.Logs("recording into stream file 1\n", 2));
    }

    nlohmann::json List() const {
        Outcome const outcome = recorder.PoolTool({"list", "--json"});
        EXPECT_EQ(outcome.status, 0) << outcome;
        EXPECT_EQ(outcome.err, "");
        return nlohmann::json::parse(outcome.out)["slots"];
    }

    static constexpr int slots = 4;
    Recorder recorder;
};

TEST_F(RingEvidence, EverySlotIsOfTheRecordingWhileItTurns) {
    for (int i = 0; i < 20; ++i) {
        auto const listed = List();
        ASSERT_EQ(listed.size(), std::size_t{slots});
        for (auto const& slot : listed) {
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

// The oldest slot is recorded over soon, the newest one later. What was recorded over before an
// export begins is no longer known to hold anything.
TEST_F(RingEvidence, ExportIsOfOneRecordingOrFailsWithTheSlot) {
    ExportedFile const file(recorder);
    int exports = 0;
    int failures = 0;
    for (int run = 0; run < 200 && (exports == 0 || failures == 0); ++run) {
        auto listed = List().get<std::vector<nlohmann::json>>();
        std::erase_if(listed, [](auto const& slot) { return slot["state"] != "finished"; });
        auto const [oldest, newest] =
            std::minmax_element(listed.begin(), listed.end(), [](auto const& a, auto const& b) {
                return a["first_tick"] < b["first_tick"];
            });
        if (listed.empty()) {
            continue;
        }
        auto const& slot = failures < exports ? *oldest : *newest;
        Outcome const outcome =
            run % 2 == 0 ? file.Export({"--slots", slot["slot"].dump()})
                         : file.Export({"--stream", "1", "--from", "@" + slot["from"].dump(),
                                        "--to", "@" + slot["to"].dump()});
        if (outcome.status == 1) {
            bool const isNamed = outcome.err.starts_with("d2b: stream file ") &&
                                 outcome.err.find(" was recorded over") != std::string::npos;
            bool const wasGone = outcome.err == "d2b: the slots hold nothing\n" ||
                                 outcome.err.starts_with("d2b: the pool has nothing of stream 1");
            EXPECT_TRUE(isNamed || wasGone) << outcome;
            EXPECT_TRUE(file.IsGone());
            failures += isNamed ? 1 : 0;
            continue;
        }
        ASSERT_TRUE(outcome.status == 0 || outcome.status == 3) << outcome;
        file.ExpectUninterrupted();
        file.Remove();
        ++exports;
    }
    EXPECT_GT(exports, 0);
    EXPECT_GT(failures, 0);
}

} // namespace
} // namespace e2e

// d2b export: the bytes, what stands beside them, the statuses, and what is refused.
#include <sys/mount.h>

#include <random>

#include "ExportTest.h"
#include "evidence/exporting/PoolSlots.h"
#include "support/Snapshot.h"

namespace workstation::evidence::exporting {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using ExportCommandTest = ExportTest;

std::vector<std::string> Interval(int from, int to) {
    return {
        "--stream", "1", "--from", "@" + std::to_string(from), "--to", "@" + std::to_string(to)};
}

std::vector<std::string> With(std::vector<std::string> arguments, std::string const& more) {
    arguments.push_back(more);
    return arguments;
}

TEST_F(ExportCommandTest, IntervalOverThreeSlotsBeginsWhereADecoderCanStart) {
    RecordThreeSlots();
    // The times 53 to 61 are the ticks 1060 to 1239; the group of pictures before begins at 1059.
    auto const outcome = Export(Interval(53, 61));
    EXPECT_EQ(outcome, (Outcome{0,
                                Out() + ": slots 2-3,5, 1970-01-01 00:00:53 UTC to 1970-01-01 "
                                        "00:01:01 UTC, 180 ticks (1060 to 1239), no gap, no fault, "
                                        "complete\n",
                                ""}));
    std::string const expected = Ticks(1059, 1, 1240);
    EXPECT_TRUE(BytesOf(Out()) == expected);
    auto const manifest = Manifest(Out());
    EXPECT_EQ(manifest["asked"],
              (nlohmann::json{{"reid", nullptr}, {"stream", 1}, {"from", 53}, {"to", 61}}));
    EXPECT_EQ(
        manifest["held"],
        (nlohmann::json{
            {"from", 53}, {"to", 61}, {"first_tick", 1060}, {"last_tick", 1239}, {"ticks", 180}}));
    EXPECT_EQ(manifest["output"]["name"], "out.ts");
    EXPECT_EQ(manifest["output"]["bytes"], expected.size());
    ASSERT_EQ(manifest["pieces"].size(), 3U);
    EXPECT_EQ(manifest["pieces"][0]["slot"], 2);
    EXPECT_EQ(manifest["pieces"][0]["offset"], 59 * bytesOfTick + 188);
    EXPECT_EQ(manifest["pieces"][0]["bytes"], 41 * bytesOfTick - 188);
    EXPECT_EQ(manifest["pieces"][1]["bytes"], 100 * bytesOfTick);
    EXPECT_EQ(manifest["pieces"][2]["slot"], 5);
    EXPECT_EQ(manifest["pieces"][2]["offset"], 0);
    EXPECT_EQ(manifest["pieces"][2]["bytes"], 40 * bytesOfTick);
    EXPECT_THAT(manifest["gaps"], IsEmpty());
    EXPECT_THAT(manifest["faults"], IsEmpty());
    EXPECT_EQ(manifest["complete"], true);
    EXPECT_TRUE(ChecksumIsRight(Out()));
    EXPECT_EQ(RunCommand({"verify", Out() + ".json", "--pool", root_.Pool()}).status, 0);
    EXPECT_THAT(Names(), ElementsAre("out.ts", "out.ts.json", "out.ts.sha256"));
}

TEST_F(ExportCommandTest, ExactBeginsAtTheTick) {
    RecordThreeSlots();
    EXPECT_EQ(Export(With(Interval(55, 56), "--exact")).status, 0);
    EXPECT_TRUE(BytesOf(Out()) == Ticks(1100, 0, 1140)); // the first of its slot
}

TEST_F(ExportCommandTest, StartMayLieInTheSlotBefore) {
    RecordThreeSlots();
    EXPECT_EQ(Export(Interval(55, 56)).status, 0);
    EXPECT_TRUE(BytesOf(Out()) == Ticks(1099, 1, 1140));
    EXPECT_EQ(Manifest(Out())["pieces"].size(), 2U);
}

TEST_F(ExportCommandTest, LessThanWasAskedForIsIncomplete) {
    RecordThreeSlots();
    EXPECT_EQ(Export(Interval(49, 65)).status, 0); // a second
    EXPECT_EQ(Export(With(Interval(48, 60), "--force")).status, 3);
    EXPECT_EQ(Manifest(Out())["complete"], false);
    EXPECT_EQ(Export(With(Interval(60, 66), "--force")).status, 3);
    auto const outcome = Export(Interval(70, 80), Out("other.ts"));
    EXPECT_EQ(outcome,
              (Outcome{1, "",
                       "d2b: the pool has nothing of stream 1 from 1970-01-01 00:01:10 UTC "
                       "to 1970-01-01 00:01:20 UTC\n"}));
    EXPECT_FALSE(std::filesystem::exists(Out("other.ts")));
}

TEST_F(ExportCommandTest, GapsAndFaultsAreInTheManifest) {
    ProgramStream stream;
    Append(stream, 1000, 1009);
    std::size_t const gap = stream.Bytes().size();
    Append(stream, 1014, 1019);
    std::string bytes = stream.Bytes();
    bytes.replace(gap + 5 * 188, 188, 188, '\0');
    Record(1, 4, 1000, 1019, bytes);
    auto const outcome = Export({"--stream", "1", "--from", "@50", "--to", "@50", "--json"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, BytesOf(Out() + ".json"));
    auto const manifest = Manifest(Out());
    EXPECT_EQ(
        manifest["gaps"],
        (nlohmann::json{{{"after_tick", 1009}, {"before_tick", 1014}, {"from", 50}, {"to", 50}}}));
    auto const fault = [&](char const* kind, std::size_t packet, nlohmann::json const& pid,
                           nlohmann::json const& missing) {
        return nlohmann::json{{"slot", 4},
                              {"kind", kind},
                              {"offset", gap + packet * 188},
                              {"bytes", 188},
                              {"pid", pid},
                              {"missing", missing},
                              {"time", 50},
                              {"output_offset", gap + packet * 188}};
    };
    EXPECT_EQ(manifest["faults"],
              (nlohmann::json{fault("tick", 0, 0x1FA0, 4), fault("zeros", 5, nullptr, nullptr),
                              fault("continuity", 6, videoPid, 1)}));
}

TEST_F(ExportCommandTest, SlotsAreWholeAndInTheOrderThatIsAskedFor) {
    RecordThreeSlots();
    std::string const image = directory_.Path("image");
    std::filesystem::rename(root_.Pool(), image);
    auto const outcome = Export({"--slots", "5,1-3", "--pool", image});
    EXPECT_EQ(outcome.status, 3); // from tick 1299 to tick 1000
    EXPECT_TRUE(BytesOf(Out()) ==
                bytes_.substr(200 * bytesOfTick) + bytes_.substr(0, 200 * bytesOfTick));
    EXPECT_EQ(Manifest(Out())["gaps"].size(), 1U);
    EXPECT_EQ(Export({"--slots", "2-3", "--pool", image, "--force"}).status, 0);
    EXPECT_EQ(Export({"--slots", "7", "--pool", image, "--force"}).err,
              "d2b: stream file 7: the pool has no such file; it has 6\n");
    EXPECT_EQ(Export({"--slots", "1", "--pool", image, "--force"}).err,
              "d2b: the slots hold nothing\n");
    auto const unknown = Export({"--stream", "1", "--from", "@1", "--to", "@99", "--pool", image});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(unknown.err, "d2b: without a database it is not known which slots hold which stream: "
                           "name one with --db, or slots with --slots\n");
}

TEST_F(ExportCommandTest, EventsAndRecordingsAreExportedByTheirIdentifier) {
    RecordThreeSlots();
    ProgramStream other;
    Record(2, 4, 1000, 1199, Append(other, 1000, 1199).Bytes());
    auto const event = store_.RecordAfterTheFact(52, 58, 0xF, 64);
    ASSERT_TRUE(event);
    AddRecording("19700101-000050:0000000a", 1, "50", "64");
    auto const several = Export({event->reid});
    EXPECT_EQ(several.status, 2);
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_EQ(Export({event->reid, "--stream", "1", "--exact"}).status, 0);
    EXPECT_TRUE(BytesOf(Out()) == Ticks(1040, 0, 1180));
    EXPECT_EQ(Manifest(Out())["asked"],
              (nlohmann::json{{"reid", event->reid}, {"stream", 1}, {"from", 52}, {"to", 58}}));
    EXPECT_EQ(Export({event->reid, "--stream", "3"}, Out("3.ts")).err,
              "d2b: '" + event->reid + "' has no stream 3\n");
    auto const whole = Export({"19700101-000050:0000000a"}, Out("recording.ts"));
    EXPECT_EQ(whole.status, 0) << whole.err;
    EXPECT_TRUE(BytesOf(Out("recording.ts")) == Ticks(1000, 0, 1300));
    EXPECT_EQ(Export({"unknown"}, Out("unknown.ts")).err,
              "d2b: no event or recording has the identifier 'unknown'\n");
}

TEST_F(ExportCommandTest, DirectoryTakesAFileForEachStream) {
    RecordThreeSlots();
    ProgramStream other;
    Record(2, 4, 1000, 1199, Append(other, 1000, 1199).Bytes());
    auto const event = store_.RecordAfterTheFact(52, 58, 0xF, 64);
    ASSERT_TRUE(event);
    auto const outcome = Export({event->reid, "--json", "--exact"}, directory_.Path() + "/");
    EXPECT_EQ(outcome.status, 0);
    std::string name = event->reid;
    name.replace(name.find(':'), 1, "-");
    EXPECT_THAT(Names(), ElementsAre(name + "-1.ts", name + "-1.ts.json", name + "-1.ts.sha256",
                                     name + "-2.ts", name + "-2.ts.json", name + "-2.ts.sha256"));
    auto const printed = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(printed,
              (nlohmann::json{Manifest(Out(name + "-1.ts")), Manifest(Out(name + "-2.ts"))}));
}

TEST_F(ExportCommandTest, StandardOutputTakesTheStreamAlone) {
    RecordThreeSlots();
    auto const outcome = Export(With(Interval(50, 50), "--exact"), "-");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.out == Ticks(1000, 0, 1020));
    EXPECT_EQ(outcome.err,
              "standard output: slot 2, 1970-01-01 00:00:50 UTC to 1970-01-01 00:00:50 "
              "UTC, 20 ticks (1000 to 1019), no gap, no fault, complete\n");
    EXPECT_EQ(Export(With(Interval(50, 50), "--json"), "-").status, 2);
}

TEST_F(ExportCommandTest, FileThatIsThereIsReplacedOnRequestOnly) {
    RecordThreeSlots();
    EXPECT_EQ(Export(Interval(50, 50)).status, 0);
    std::string const bytes = BytesOf(Out());
    EXPECT_EQ(Export(Interval(51, 51)),
              (Outcome{1, "", "d2b: '" + Out() + "' exists (--force replaces it)\n"}));
    EXPECT_TRUE(BytesOf(Out()) == bytes);
    EXPECT_EQ(Export(With(Interval(51, 51), "--force")).status, 0);
    EXPECT_FALSE(BytesOf(Out()) == bytes);
    EXPECT_EQ(Manifest(Out())["held"]["from"], 51);
    EXPECT_TRUE(ChecksumIsRight(Out()));
    EXPECT_EQ(Export(With(Interval(51, 51), "--force"), root_.Pool()).err,
              "d2b: '" + root_.Pool() + "' is what is read\n");
}

TEST_F(ExportCommandTest, WhatAKilledExportLeftIsReplacedAndOtherFilesAreNot) {
    RecordThreeSlots();
    EXPECT_EQ(Export(Interval(50, 50)).status, 0);
    std::filesystem::remove(Out());
    EXPECT_EQ(Export(Interval(51, 51)).status, 0);
    EXPECT_EQ(Manifest(Out())["held"]["from"], 51);
    for (char const* const suffix : {".json", ".sha256"}) {
        std::filesystem::remove(Out());
        std::ofstream(Out() + suffix) << "mine";
        EXPECT_EQ(Export(Interval(51, 51)).err,
                  "d2b: '" + Out() + suffix + "' exists (--force replaces it)\n");
        EXPECT_EQ(BytesOf(Out() + suffix), "mine");
        EXPECT_EQ(Export(With(Interval(51, 51), "--force")).status, 0);
    }
}

TEST_F(ExportCommandTest, MisuseIsStatusTwo) {
    std::vector<std::vector<std::string>> const misuses = {
        {},
        {"REID", "--slots", "1"},
        {"REID", "--from", "@1", "--to", "@2"},
        {"--stream", "1"},
        {"--stream", "1", "--from", "@1"},
        {"--stream", "5", "--from", "@1", "--to", "@2"},
        {"--stream", "1", "--from", "@2", "--to", "@1"},
        {"--stream", "1", "--from", "now", "--to", "@1"},
        {"--from", "@1", "--to", "@2"},
        {"--slots", "1", "--stream", "1"},
        {"--slots", "3-1"},
        {"--slots", "x"},
        {"--slots", "1,"},
        {"--slots", "0"},
        {"--slots", "1-1000000"},
    };
    for (auto const& arguments : misuses) {
        EXPECT_EQ(Export(arguments).status, 2) << testing::PrintToString(arguments);
    }
    EXPECT_EQ(RunCommand({"export", "--slots", "1"}).status, 2);
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(ExportCommandTest, ChangesNothingInTheRecorder) {
    RecordThreeSlots();
    auto const before = Snapshot(root_.Path());
    EXPECT_EQ(Export(Interval(50, 60)).status, 0);
    EXPECT_EQ(RunCommand({"verify", Out() + ".json", "--pool", root_.Pool()}).status, 0);
    EXPECT_EQ(Snapshot(root_.Path()), before);
}

TEST_F(ExportCommandTest, SlotThatTheDatabaseKnowsOtherwiseIsRefused) {
    RecordThreeSlots();
    ProgramStream later;
    LoadSlot(root_.Pool(), 3, Append(later, 5000, 5010).Bytes());
    EXPECT_EQ(
        Export(Interval(50, 60)),
        (Outcome{1, "",
                 "d2b: stream file 3 was recorded over: it begins with tick 5000, which is not "
                 "in the database\n"}));
    EXPECT_THAT(Names(), IsEmpty());
}

// The program waits in the pipe that is not read, after its first block.
TEST_F(ExportCommandTest, SlotThatIsRecordedOverMeanwhileFailsWithItsNumber) {
    ProgramStream stream;
    Append(stream, 1000, 2999);
    Record(1, 2, 1000, 2999, stream.Bytes());
    for (bool const isWipedOnly : {true, false}) {
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe(ends.data()), 0);
        FileDescriptor out(ends[0]);
        FileDescriptor in(ends[1]);
        std::string const errors = directory_.Path("errors");
        ChildProcess child([&] {
            dup2(in.Get(), STDOUT_FILENO);
            in.Reset();
            out.Reset();
            freopen(errors.c_str(), "w", stderr);
            return Execute({D2B, "export", "--slots", "2", "-o", "-"});
        });
        in.Reset();
        std::array<char, 65536> block{};
        ASSERT_GT(read(out.Get(), block.data(), 1), 0);
        if (isWipedOnly) {
            pool::PoolImage::Open(root_.Pool())->Set(2, pool::EntryWord::length, 0);
        } else {
            ProgramStream later;
            LoadSlot(root_.Pool(), 2, Append(later, 5000, 6999).Bytes());
        }
        while (read(out.Get(), block.data(), block.size()) > 0) {
        }
        EXPECT_EQ(child.Wait(), 1);
        EXPECT_EQ(BytesOf(errors), "d2b: stream file 2 was recorded over while it was exported\n");
        LoadSlot(root_.Pool(), 2, stream.Bytes());
    }
}

TEST_F(ExportCommandTest, SlotThatGrowsIsReadUpToTheLengthAtTheStart) {
    ProgramStream stream;
    Append(stream, 1000, 1009);
    LoadSlot(root_.Pool(), 2, stream.Bytes());
    PoolView const pool(root_.Pool());
    PoolSlots slots(pool);
    OpenedSlot& slot = slots.At(2);
    LoadSlot(root_.Pool(), 2, Append(stream, 1010, 1019).Bytes());
    EXPECT_EQ(slot.Length(), 10 * bytesOfTick);
    EXPECT_NO_THROW(slot.CheckUnchanged());
}

// One packet of every second group of pictures, with video before and after it in its group.
TEST_F(ExportCommandTest, ThousandDamagedPacketsAreNamed) {
    using Named = std::pair<std::size_t, std::string>; // where in the slot, and as what
    ProgramStream stream;
    std::string const sound = Append(stream, 1000, 2999).Bytes();
    std::mt19937 random(7);
    std::string bytes;
    std::size_t begin = 0; // of what is exported: the ticks 1200 to 2819
    std::size_t end = 0;
    std::vector<Named> damaged;
    for (std::uint32_t tick = 1000; tick < 3000; ++tick) {
        begin = tick == 1200 ? bytes.size() : begin;
        end = tick == 2820 ? bytes.size() : end;
        std::string group = sound.substr((tick - 1000) * bytesOfTick, bytesOfTick);
        std::size_t const place = (4 + random() % 5) * 188;
        std::size_t const offset = bytes.size() + place;
        switch (tick % 2 == 0 ? random() % 4 : 4) {
        case 0: // the sync byte is flipped
            group[place] = static_cast<char>(group[place] ^ 0x20);
            damaged.insert(damaged.end(), {{offset, "sync"}, {offset + 188, "continuity"}});
            break;
        case 1: // the packet before is repeated in its place
            group.replace(place, 188, group, place - 188, 188);
            damaged.emplace_back(offset + 188, "continuity");
            break;
        case 2: // it is all zeros
            group.replace(place, 188, 188, '\0');
            damaged.insert(damaged.end(), {{offset, "zeros"}, {offset + 188, "continuity"}});
            break;
        case 3: // it is missing
            group.erase(place, 188);
            damaged.emplace_back(offset, "continuity");
            break;
        default:
            break;
        }
        bytes += group;
    }
    Record(1, 2, 1000, 2999, bytes);
    EXPECT_EQ(Export({"--stream", "1", "--from", "@60", "--to", "@140", "--exact"}).status, 3);
    EXPECT_TRUE(BytesOf(Out()) == bytes.substr(begin, end - begin));
    std::vector<Named> named;
    auto const manifest = Manifest(Out());
    for (auto const& fault : manifest["faults"]) {
        std::size_t const offset = fault["offset"];
        EXPECT_EQ(fault["slot"], 2);
        EXPECT_EQ(fault["output_offset"], offset - begin);
        named.emplace_back(offset, fault["kind"]);
    }
    std::erase_if(damaged,
                  [&](Named const& damage) { return damage.first < begin || damage.first >= end; });
    EXPECT_GT(damaged.size(), 1000U);
    EXPECT_EQ(named, damaged);
}

} // namespace
} // namespace workstation::evidence::exporting

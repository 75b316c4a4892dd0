// Ticks of stream files: shown with --stats and --tickinfo, cut at with -e.
#include <gtest/gtest.h>

#include <array>
#include <optional>

#include "SmallDisk.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t firstTick = 1000;
constexpr std::int32_t firstTime = 57;
Words const tickOptions{"--first", "1000", "--time", "57"};

// One dot for every eighth chunk.
std::string Dots(std::size_t size) {
    return std::string((size + chunkSize - 1) / chunkSize / 8, '.');
}

std::string const slotDots = Dots(slotSize) + '\n';

TEST(TickedClip, HoldsTheClipAndTwentyTicksASecond) {
    Recorder const recorder;
    std::string const stream = TickedClip(recorder, tickOptions);
    auto const ticks = TicksIn(stream);
    EXPECT_TRUE(WithoutTicks(stream) == Clip());
    ASSERT_GE(ticks.size(), 96U); // of a clip of five seconds
    ASSERT_LE(ticks.size(), 101U);
    EXPECT_EQ(ticks.front(), (Tick{0, firstTick, firstTime}));
    EXPECT_EQ(Numbers(ticks), NumbersFrom(firstTick, ticks.size()));
    for (std::size_t index = 0; index < ticks.size(); ++index) {
        EXPECT_EQ(ticks[index].time, firstTime + static_cast<int>(index / 20)) << index;
    }
}

// --- --stats and --tickinfo --------------------------------------------------------------------

// A pool with the ticked clip in its first file, nothing in its second, and the clip as it is in
// its third.
class Ticks : public testing::Test {
protected:
    Ticks() {
        recorder.CreatePool(3);
        recorder.Load(1, stream);
        recorder.Load(3, Clip());
    }

    std::string Range(std::size_t first, std::size_t last) const {
        Tick const& from = ticks[first];
        Tick const& to = ticks[last];
        return "  File 1 tickRange: " + std::to_string(from.number) + "..." +
               std::to_string(to.number) + "   (diff= " + std::to_string(to.number - from.number) +
               " ticks)" + "    timeRange: " + std::to_string(from.time) + "..." +
               std::to_string(to.time) + "   (diff= " + std::to_string(to.time - from.time) +
               " seconds)\n";
    }

    std::string Dump() const {
        std::string lines;
        for (Tick const& tick : ticks) {
            lines += " File: 1 Tick: " + std::to_string(tick.number) +
                     " Offset: " + std::to_string(tick.offset) +
                     " Time: " + std::to_string(tick.time) + '\n';
        }
        return lines;
    }

    std::string Distances() const {
        std::size_t most = 0;
        std::size_t least = slotSize;
        for (std::size_t index = 1; index < ticks.size(); ++index) {
            most = std::max(most, ticks[index].offset - ticks[index - 1].offset);
            least = std::min(least, ticks[index].offset - ticks[index - 1].offset);
        }
        return DistanceLine("Maximum", most) + DistanceLine("Minimum", least);
    }

    Recorder recorder;
    std::string const stream = TickedClip(recorder, tickOptions);
    std::vector<Tick> const ticks = TicksIn(stream);

private:
    static std::string DistanceLine(std::string const& which, std::size_t distance) {
        std::string number = std::to_string(distance);
        number.insert(0, 10 - number.size(), ' ');
        return "   1 : " + which + " consecutive tick offset delta in bytes = " + number + '\n';
    }
};

TEST_F(Ticks, OfTheWholeSlotAreShownWithoutAService) {
    EXPECT_EQ(recorder.Tool({"--stats", "1"}),
              (Outcome{0, notRunning + slotDots + "\n\n" + Range(0, ticks.size() - 1) + '\n', ""}));
    EXPECT_EQ(recorder.Tool({"--tickinfo", "1"}),
              (Outcome{0, notRunning + slotDots + "\n\n" + Dump() + '\n', ""}));
}

TEST_F(Ticks, OfTheStatedLengthAreShownBesideTheService) {
    recorder.StartService();
    EXPECT_EQ(recorder.Tool({"--stats", "1"}),
              (Outcome{0, "\n\n\n" + Range(0, ticks.size() - 1) + '\n', ""}));
    EXPECT_EQ(recorder.Tool({"--tickinfo", "1"}), (Outcome{0, "\n\n\n" + Dump() + '\n', ""}));
    EXPECT_EQ(recorder.Tool({"--tickinfo", "1,m"}),
              (Outcome{0, "\n\n\n" + Distances() + '\n', "SECONDARY option = [m]\n"}));
    EXPECT_EQ(recorder.Tool({"--tickinfo", "1,xm"}),
              (Outcome{0, "\n\n\n" + Dump() + '\n', "SECONDARY option = [x]\n"}));
    EXPECT_EQ(
        recorder.Tool({"--tickinfo", "1,"}),
        (Outcome{99, "", "NOTE: use a comma, but no spaces between file number tickinfo option"}));
}

// The stated length ends with the tenth tick, but the slot does not.
TEST_F(Ticks, BeyondTheStatedLengthAreShownOnlyWithoutAService) {
    std::size_t const length = ticks[9].offset + packetSize;
    Outcome const set = recorder.PoolTool({"set", "1", "--length", std::to_string(length)});
    ASSERT_EQ(set.status, 0) << set;
    EXPECT_EQ(recorder.Tool({"--stats", "1"}),
              (Outcome{0, notRunning + slotDots + "\n\n" + Range(0, ticks.size() - 1) + '\n', ""}));
    recorder.StartService();
    EXPECT_EQ(recorder.Tool({"--stats", "1"}), (Outcome{0, "\n\n\n" + Range(0, 9) + '\n', ""}));
}

class TicksOfAll : public Ticks, public testing::WithParamInterface<char const*> {};

TEST_P(TicksOfAll, AreShownFileByFileWithoutAService) {
    EXPECT_EQ(
        recorder.Tool({"--stats", GetParam()}),
        (Outcome{0,
                 notRunning + slotDots + "\n\n" + Range(0, ticks.size() - 1) + '\n' + slotDots +
                     "No system ticks found in file number 2\nNo system ticks found\n\n\n\n" +
                     slotDots +
                     "No system ticks found in file number 3\nNo system ticks found\n\n\n\n",
                 ""}));
}

TEST_P(TicksOfAll, AreShownFileByFileBesideTheService) {
    recorder.StartService();
    std::string const emptyFile = "Stream file number 2 is a zero-length file.\n";
    EXPECT_EQ(
        recorder.Tool({"--stats", GetParam()}),
        (Outcome{0,
                 "\n\n\n" + Range(0, ticks.size() - 1) +
                     "\nNo system ticks found\n\n\n\n"
                     "\nNo system ticks found in file number 3\nNo system ticks found\n\n\n\n",
                 emptyFile}));
    EXPECT_EQ(recorder.Tool({"--tickinfo", GetParam()}),
              (Outcome{0,
                       "\n\n\n" + Dump() + "\nNo system ticks found in file number 2\n" +
                           "\nNo system ticks found in file number 3\n"
                           "No system ticks found in file number 3\n",
                       emptyFile}));
}

INSTANTIATE_TEST_SUITE_P(Ticks, TicksOfAll, testing::Values("0", "all"));

TEST_F(Ticks, OfAFileThatThePoolDoesNotHaveAreNotShown) {
    std::string const invalid = "File number is invalid: 4\n";
    EXPECT_EQ(recorder.Tool({"--stats", "4"}),
              (Outcome{0, notRunning + "No system ticks found\n\n\n\n", invalid}));
    EXPECT_EQ(recorder.Tool({"--tickinfo", "4"}),
              (Outcome{0, notRunning + "No system ticks found in file number 4\n", invalid}));
}

TEST_F(Ticks, AreShownInRuns) {
    recorder.Load(1, TickedClip(recorder, {"--first", "4294967290", "--time", "-10", "--gap",
                                           "10:5", "--restart", "50:7", "--restart", "90:1"}));
    EXPECT_EQ(
        recorder.Tool({"--stats", "1"}),
        (Outcome{0,
                 notRunning + slotDots + "\n\n" +
                     "  File 1 tickRange: 4294967290...3   (diff= 9 ticks)"
                     "    timeRange: -10...-10   (diff= 0 seconds)\n"
                     "  File 1 tickRange: 9...43   (diff= 34 ticks)"
                     "    timeRange: -10...-8   (diff= 2 seconds)\n"
                     "  File 1 tickRange: 7...46   (diff= 39 ticks)"
                     "    timeRange: -8...-6   (diff= 2 seconds)\n"
                     "  File 1 tickRange: 1..." +
                     std::to_string(ticks.size() - 90) + "   (diff= " +
                     std::to_string(ticks.size() - 91) + " ticks)    timeRange: -6..." +
                     std::to_string(-10 + static_cast<int>((ticks.size() - 1) / 20)) +
                     "   (diff= " + std::to_string((ticks.size() - 1) / 20 - 4) + " seconds)\n\n",
                 ""}));
}

// --- -e ----------------------------------------------------------------------------------------

// What -e prints on standard error for an argument that it understands.
std::string Echo(std::string const& argument, std::string const& number, std::string const& first,
                 std::string const& last) {
    auto const orZero = [](std::string const& tick) { return tick.empty() ? "0" : tick; };
    return "complete option string = [" + argument +
           "]\ncomma position = " + std::to_string(argument.find(',')) +
           "\ndash position = " + std::to_string(argument.find('-')) + "\nfilenumstr = [" + number +
           "]\nfirsttickstr = [" + first + "]\nlasttickstr = [" + last +
           "]\nfirsttick = " + orZero(first) + "\nlasttick = " + orZero(last) + '\n';
}

std::string const called = "EditAndExtractStreamFile() was called.\n";

std::string NotCut(std::string const& number, std::string const& first, std::string const& last) {
    return "EditAndExtractStreamFile() returned an error.\n      filenum = " + number +
           "\n    firsttick = " + first + "\n     lasttick = " + last + '\n';
}

// Where the two ends of a range lie in the data, and what is left of it.
struct CutSizes {
    std::size_t prolog;
    std::size_t lastOffset;
    std::size_t epilog;
};

// What -e prints when it has found the ends of a range.
std::string EndsOfCut(std::string const& first, std::string const& last, CutSizes const& sizes) {
    return "firsttick_ = " + (first.empty() ? "0" : first) +
           "\nfirsttickoffset = " + std::to_string(sizes.prolog) +
           "\nprologsize = " + std::to_string(sizes.prolog) + "\nfirsttickstr = [" + first +
           "]\nlasttick_ = " + (last.empty() ? "0" : last) +
           "\nlasttickoffset = " + std::to_string(sizes.lastOffset) +
           "\nepilogsize = " + std::to_string(sizes.epilog) + "\nlasttickstr = [" + last + "]\n";
}

// And once it has opened its output.
std::string CopyingTo(fs::path const& path) {
    return "Copying requested stream file to '" + path.string() + "'\nCopy prolog of '" +
           path.string() + "'\n";
}

// A range between two ticks by their index in the clip, each of which may be left out.
struct Range {
    std::optional<std::size_t> first;
    std::optional<std::size_t> last;
};

void PrintTo(Range const& range, std::ostream* stream) {
    *stream << (range.first ? std::to_string(*range.first) : "") << '-'
            << (range.last ? std::to_string(*range.last) : "");
}

class Cut : public Ticks, public testing::WithParamInterface<Range> {
protected:
    std::string TickText(std::optional<std::size_t> index) const {
        return index ? std::to_string(ticks[*index].number) : "";
    }

    // Cuts the range out of the first file, which holds `data`.
    void ExpectCut(std::string const& data, std::string const& before) const {
        auto const& [firstIndex, lastIndex] = GetParam();
        std::string const first = TickText(firstIndex);
        std::string const last = TickText(lastIndex);
        std::string const range = first + '-' + last;
        fs::path const path = recorder.HardDisk() / ("1." + range + ".ts");
        std::size_t const prolog = firstIndex ? ticks[*firstIndex].offset : 0;
        std::size_t const lastOffset = lastIndex ? ticks[*lastIndex].offset : data.size();
        std::size_t const epilog = lastIndex ? data.size() - lastOffset : 0;

        EXPECT_EQ(recorder.Tool({"-e", "1," + range}),
                  (Outcome{0,
                           before + called + Dots(data.size()) + '\n' +
                               EndsOfCut(first, last, {prolog, lastOffset, epilog}) +
                               CopyingTo(path) + Dots(prolog) + Dots(epilog) + '\n',
                           Echo("1," + range, "1", first, last)}));
        EXPECT_TRUE(ReadFile(path) ==
                    data.substr(0, prolog) + data.substr(data.size() - epilog, epilog));
    }
};

TEST_P(Cut, LeavesTheRestOfTheDataBesideTheService) {
    recorder.StartService();
    ExpectCut(stream, "");
}

TEST_P(Cut, LeavesTheRestOfTheSlotWithoutAService) {
    std::string slot = stream;
    slot.resize(slotSize);
    ExpectCut(slot, notRunning);
}

// The last but one has its last tick before its first: what lies between them stands there twice.
INSTANTIATE_TEST_SUITE_P(Ticks, Cut,
                         testing::Values(Range{10, 50}, Range{20, 20}, Range{{}, 50}, Range{10, {}},
                                         Range{0, 90}, Range{50, 10}, Range{{}, {}}));

TEST_F(Ticks, OutsideTheRangeSurviveTheCutAndThePlayerPlaysTheRest) {
    recorder.StartService();
    EXPECT_EQ(recorder.Tool({"-e", "1,1020-1060"}).status, 0);
    fs::path const rest = recorder.HardDisk() / "1.1020-1060.ts";
    auto surviving = ticks;
    surviving.erase(surviving.begin() + 20, surviving.begin() + 60);
    EXPECT_EQ(Numbers(TicksIn(ReadFile(rest))), Numbers(surviving));
    Outcome const played = Play(rest);
    EXPECT_EQ(played.status, 0);
    EXPECT_EQ(played.out.substr(0, 9), "h264\naac\n");
}

struct OddArgument {
    char const* text;
    int status;
    std::string out;
    std::string err;
};

void PrintTo(OddArgument const& argument, std::ostream* stream) {
    *stream << argument.text;
}

class OddCut : public Ticks, public testing::WithParamInterface<OddArgument> {};

TEST_P(OddCut, IsReported) {
    EXPECT_EQ(recorder.Tool({"-e", GetParam().text}),
              (Outcome{GetParam().status, notRunning + GetParam().out, GetParam().err}));
    EXPECT_TRUE(fs::is_empty(recorder.HardDisk()));
}

constexpr char const* noDash =
    "NOTE: a dash is required between the first tick (if any) and last tick (if any)\n"
    "      in the range of ticks to delete. At least one of the first tick, and the\n"
    "      last tick are required. The dash is always required.\n";

std::string const noTicksOf = "Error getting the System Ticks for TS file:";

INSTANTIATE_TEST_SUITE_P(
    Ticks, OddCut,
    testing::Values(
        OddArgument{"11020-1060", 99, "",
                    "complete option string = [11020-1060]\nNOTE: a comma is required between the "
                    "file number and the range of ticks to delete.\n"},
        OddArgument{"1,1020", 99, "", std::string("complete option string = [1,1020]\n") + noDash},
        OddArgument{"", 99, "",
                    "complete option string = []\nNOTE: a comma is required between the file "
                    "number and the range of ticks to delete.\n"},
        OddArgument{"1,7-1060", 0, called + slotDots,
                    Echo("1,7-1060", "1", "7", "1060") +
                        "firsttick 7 not found in stream file 1\n" + NotCut("1", "7", "1060")},
        OddArgument{"1,1020-9", 0, called + slotDots,
                    Echo("1,1020-9", "1", "1020", "9") + "lasttick 9 not found in stream file 1\n" +
                        NotCut("1", "1020", "9")},
        OddArgument{"4,-1060", 0, called,
                    Echo("4,-1060", "4", "", "1060") + "File number is invalid: 4\n" + noTicksOf +
                        "4\n" + NotCut("4", "0", "1060")},
        OddArgument{"0,-1060", 0, called,
                    Echo("0,-1060", "0", "", "1060") +
                        "could not open stream file: 2No such file or directory\n" + noTicksOf +
                        "0\n" + NotCut("0", "0", "1060")},
        OddArgument{"3,-1060", 0, called + slotDots + "No system ticks found in file number 3\n",
                    Echo("3,-1060", "3", "", "1060") + noTicksOf + "3\n" +
                        NotCut("3", "0", "1060")}));

// The dash of the number is taken for the one of the range, which then reads "1,1060".
TEST_F(Ticks, OfANegativeFileNumberAreNotCut) {
    EXPECT_EQ(recorder.Tool({"-e", "-1,1060"}),
              (Outcome{0, notRunning + called,
                       "complete option string = [-1,1060]\ncomma position = 2\n"
                       "dash position = 0\nfilenumstr = [-1]\nfirsttickstr = [1060]\n"
                       "lasttickstr = [1,1060]\nfirsttick = 1060\nlasttick = 1\n"
                       "File number is invalid: -1\n" +
                           noTicksOf + "-1\n" + NotCut("-1", "1060", "1")}));
}

TEST_F(Ticks, AreNotCutWithoutAHardDisk) {
    fs::remove(recorder.HardDisk());
    fs::path const path = recorder.HardDisk() / "1.1020-.ts";
    EXPECT_EQ(
        recorder.Tool({"-e", "1,1020-"}),
        (Outcome{0,
                 notRunning + called + slotDots +
                     EndsOfCut("1020", "", {ticks[20].offset, slotSize, 0}),
                 Echo("1,1020-", "1", "1020", "") + "Could not open outfile '" + path.string() +
                     "': 2No such file or directory\n" + NotCut("1", "1020", "0")}));
}

// Cuts the first file without a service, to a disk that does not take it all.
class CutToAFullDisk : public Ticks {
protected:
    // What is printed when the copy ends before its first mark; 0 is an omitted tick.
    static Outcome GivenUp(fs::path const& path, std::uint32_t firstNumber,
                           std::uint32_t lastNumber, CutSizes const& sizes,
                           std::string const& error) {
        auto const text = [](std::uint32_t number) {
            return number == 0 ? "" : std::to_string(number);
        };
        std::string const first = text(firstNumber);
        std::string const last = text(lastNumber);
        return {0, notRunning + called + slotDots + EndsOfCut(first, last, sizes) + CopyingTo(path),
                Echo("1," + first + '-' + last, "1", first, last) +
                    "Unexpected write status: " + error + '\n' +
                    NotCut("1", std::to_string(firstNumber), std::to_string(lastNumber))};
    }

    // The tool cuts what lies before the tick with index 20 out of the file, which leaves an
    // epilog of many times the size of the disk. The chunk that fits in part is not noticed.
    static constexpr std::size_t diskSize = 1048576; // 5 chunks and a part of the sixth
    Command CutToEpilog() const { return recorder.ToolCommand({"-e", "1,-1020"}); }
    fs::path const epilogPath = recorder.HardDisk() / "1.-1020.ts";

    Outcome EpilogGivenUp(std::string const& error) const {
        std::size_t const offset = ticks[20].offset;
        return GivenUp(epilogPath, 0, 1020, {0, offset, slotSize - offset}, error);
    }

    void ExpectAFullDiskOfTheEpilog() const {
        std::string slot = stream;
        slot.resize(slotSize);
        EXPECT_TRUE(ReadFile(epilogPath) == slot.substr(ticks[20].offset, diskSize));
    }
};

TEST_F(CutToAFullDisk, IsGivenUpInTheProlog) {
    fs::path const path = recorder.HardDisk() / "1.1020-.ts";
    fs::create_symlink("/dev/full", path);
    EXPECT_EQ(recorder.Tool({"-e", "1,1020-"}),
              GivenUp(path, 1020, 0, {ticks[20].offset, slotSize, 0}, "28No space left on device"));
}

TEST_F(CutToAFullDisk, IsGivenUpInTheEpilog) {
    SmallDisk const disk(recorder.HardDisk(), diskSize);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "only the superuser may mount a file system";
    }
    EXPECT_EQ(RunToEnd(CutToEpilog()), EpilogGivenUp("28No space left on device"));
    ExpectAFullDiskOfTheEpilog();
}

TEST_F(CutToAFullDisk, IsGivenUpAtTheLimitOfAFilesSize) {
    Command command = CutToEpilog();
    command.limits[RLIMIT_FSIZE] = diskSize;
    EXPECT_EQ(RunToEnd(command), EpilogGivenUp("27File too large"));
    ExpectAFullDiskOfTheEpilog();
}

} // namespace
} // namespace e2e

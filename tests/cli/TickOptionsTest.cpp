// Options -e, --stats and --tickinfo: their arguments, and what reaches the tools.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "CliTest.h"
#include "fakes/Errno.h"
#include "fakes/Show.h"

namespace {

constexpr int optionStats = 0xff08;
constexpr int optionTickInfo = 0xff09;

class TickOptionsTest : public CliTest {
protected:
    TickOptionsTest() {
        Prepare();
        platform.pool.size = 8;
        platform.AddStreamFiles({5}, 1000);
    }

    // A table of two ticks for the next file that is searched.
    void ExpectSearch() {
        platform.pool.tickTables.push_back({{188, {100, 57, {}}}, {376, {101, 59, {}}}});
    }

    bool WasCalled(std::string const& call) const {
        return ("\n" + platform.Calls()).find("\n" + call + "\n") != std::string::npos;
    }

    // The contents of the files by their names.
    std::map<std::string, std::string> FilesOnHardDisk() const {
        std::map<std::string, std::string> files;
        for (auto const& entry : std::filesystem::directory_iterator(platform.HardDisk(""))) {
            std::ifstream file(entry.path(), std::ios::binary);
            files[entry.path().filename()] = {std::istreambuf_iterator<char>(file), {}};
        }
        return files;
    }
};

// ---------------------------------------------------------------------- -e

constexpr char const* dashNote =
    "NOTE: a dash is required between the first tick (if any) and last tick (if any)\n"
    "      in the range of ticks to delete. At least one of the first tick, and the\n"
    "      last tick are required. The dash is always required.\n";

TEST_F(TickOptionsTest, EditArgumentWithoutACommaIsRefused) {
    std::string err;
    std::string const before = platform.Calls();
    for (std::string const argument : {"51-200", "", "5", "-"}) {
        EXPECT_EQ(cli.ProcessOption('e', argument.c_str()), 2U) << argument;
        err += "complete option string = [" + argument +
               "]\nNOTE: a comma is required between the file number and the range of ticks to "
               "delete.\n";
    }
    ExpectOutput("", err);
    EXPECT_EQ(platform.Calls(), before);
}

TEST_F(TickOptionsTest, EditArgumentWithoutADashIsRefused) {
    std::string err;
    std::string const before = platform.Calls();
    for (std::string const argument : {"5,100", ",", "5,", "5,100,200"}) {
        EXPECT_EQ(cli.ProcessOption('e', argument.c_str()), 2U) << argument;
        err += "complete option string = [" + argument + "]\n" + dashNote;
    }
    ExpectOutput("", err);
    EXPECT_EQ(platform.Calls(), before);
}

// How an argument is taken apart.
struct EditCase : NamedCase {
    std::string argument;
    std::string comma; // position
    std::string dash;
    std::string fileNumber; // texts of the parts
    std::string first;
    std::string last;
    std::string numbers[3]; // file, first tick, last tick
};

class EditArgument : public TickOptionsTest, public ::testing::WithParamInterface<EditCase> {};

// The tool itself fails at once, which shows the numbers that it was given.
TEST_P(EditArgument, IsShownPartByPart) {
    platform.pool.size = -1;
    EditCase const& row = GetParam();
    EXPECT_EQ(cli.ProcessOption('e', row.argument.c_str()), 3U);
    ExpectOutput("EditAndExtractStreamFile() was called.\n",
                 "complete option string = [" + row.argument + "]\ncomma position = " + row.comma +
                     "\ndash position = " + row.dash + "\nfilenumstr = [" + row.fileNumber +
                     "]\nfirsttickstr = [" + row.first + "]\nlasttickstr = [" + row.last +
                     "]\nfirsttick = " + row.numbers[1] + "\nlasttick = " + row.numbers[2] +
                     "\nFile number is invalid: " + row.numbers[0] +
                     "\nError getting the System Ticks for TS file:" + row.numbers[0] +
                     "\nEditAndExtractStreamFile() returned an error.\n" +
                     "      filenum = " + row.numbers[0] + "\n    firsttick = " + row.numbers[1] +
                     "\n     lasttick = " + row.numbers[2] + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Text, EditArgument,
    ::testing::Values(
        EditCase{{"Whole"}, "5,100-200", "1", "5", "5", "100", "200", {"5", "100", "200"}},
        EditCase{{"NoFirst"}, "5,-200", "1", "2", "5", "", "200", {"5", "0", "200"}},
        EditCase{{"NoLast"}, "5,100-", "1", "5", "5", "100", "", {"5", "100", "0"}},
        EditCase{{"NoTicks"}, "5,-", "1", "2", "5", "", "", {"5", "0", "0"}},
        EditCase{{"ZeroFirst"}, "5,0-200", "1", "3", "5", "0", "200", {"5", "0", "200"}},
        EditCase{{"NoNumbers"}, "x,y-z", "1", "3", "x", "y", "z", {"0", "0", "0"}},
        EditCase{{"NoFile"}, ",1-2", "0", "2", "", "1", "2", {"0", "1", "2"}},
        EditCase{{"Blanks"}, " 5 , 1 - 2 ", "3", "7", " 5 ", " 1 ", " 2 ", {"5", "1", "2"}},
        EditCase{{"SecondDash"}, "5,1-2-3", "1", "3", "5", "1", "2-3", {"5", "1", "2"}},
        EditCase{{"NegativeLast"}, "5,1--2", "1", "3", "5", "1", "-2", {"5", "1", "-2"}},
        EditCase{{"SecondComma"}, "5,1,7-2", "1", "5", "5", "1,7", "2", {"5", "1", "2"}},
        EditCase{{"Saturated"},
                 "4294967297,2147483648-99999999999",
                 "10",
                 "21",
                 "4294967297",
                 "2147483648",
                 "99999999999",
                 {"2147483647", "2147483647", "2147483647"}},
        // The dash is looked for from the start of the argument: what stands "between" comma and
        // dash is then everything after the comma.
        EditCase{{"DashBeforeComma"}, "-5,100", "2", "0", "-5", "100", "5,100", {"-5", "100", "5"}},
        EditCase{{"DashInFile"}, "5-6,1-2", "3", "1", "5-6", "1-2", "6,1-2", {"5", "1", "6"}},
        EditCase{{"DashNextToComma"}, "5-,7", "2", "1", "5-", "7", ",7", {"5", "7", "0"}}),
    NameOfCase());

TEST_F(TickOptionsTest, EditIsBoundedWhileTheServiceRuns) {
    ExpectSearch();
    EXPECT_EQ(cli.ProcessOption('e', "5,100-101"), 3U);
    EXPECT_TRUE(WasCalled("file5.Read(188, false)"));
    EXPECT_TRUE(WasCalled("write(5.100-101.ts, 624)"));
    EXPECT_EQ(platform.Err().find("returned an error"), std::string::npos);
}

TEST_F(TickOptionsTest, EditTakesTheWholeSlotWhileTheServiceDoesNotRun) {
    Prepare("");
    ExpectSearch();
    EXPECT_EQ(cli.ProcessOption('e', "5,100-"), 3U);
    EXPECT_TRUE(WasCalled("file5.Read(188, true)"));
    EXPECT_FALSE(WasCalled("file5.DataLength()"));
}

TEST_F(TickOptionsTest, FirstTickZeroIsAnOmittedOneAlsoInTheNameOfTheOutput) {
    ExpectSearch();
    EXPECT_EQ(cli.ProcessOption('e', "5,0-101"), 3U);
    EXPECT_EQ(FilesOnHardDisk(),
              (std::map<std::string, std::string>{{"5.-101.ts", StreamFileContent(5, 376, 624)}}));
    EXPECT_NE(platform.Out().find("firsttick_ = 0\nfirsttickoffset = 0\nprologsize = 0\n"
                                  "firsttickstr = []\n"),
              std::string::npos);
    EXPECT_EQ(platform.Err().find("returned an error"), std::string::npos);
}

// ---------------------------------------------------------------------- --stats

TEST_F(TickOptionsTest, StatsOfOneFile) {
    ExpectSearch();
    EXPECT_EQ(cli.ProcessOption(optionStats, "5"), 3U);
    ExpectOutput("\n\n\n"
                 "  File 5 tickRange: 100...101   (diff= 1 ticks)    timeRange: 57...59   "
                 "(diff= 2 seconds)\n"
                 "\n",
                 "");
    EXPECT_TRUE(WasCalled("file5.Read(1000, false)"));
}

TEST_F(TickOptionsTest, StatsTakeTheWholeSlotWhileTheServiceDoesNotRun) {
    Prepare("");
    ExpectSearch();
    EXPECT_EQ(cli.ProcessOption(optionStats, "5"), 3U);
    EXPECT_TRUE(WasCalled("file5.Read(192512, true)"));
}

TEST_F(TickOptionsTest, StatsOfWhatIsNoNumberAreThoseOfAllFiles) {
    platform.pool.size = 2;
    std::string err;
    std::string out;
    for (char const* const argument : {"0", "abc", ""}) {
        EXPECT_EQ(cli.ProcessOption(optionStats, argument), 3U) << argument;
        for (int file = 1; file <= 2; ++file) {
            out += "No system ticks found\n\n\n\n";
            err += "could not open stream file: " + ErrnoText(ENOENT) + "\n";
        }
    }
    ExpectOutput(out, err);
}

TEST_F(TickOptionsTest, StatsAreCarriedOutWhateverFails) {
    platform.ScriptAlways("InitializeFileAccess", {0});
    EXPECT_EQ(cli.ProcessOption(optionStats, "5"), 3U);
    EXPECT_EQ(cli.ProcessOption(optionTickInfo, "5"), 3U);
    std::string const line = "can not proceed without fileAccess initialized\n";
    ExpectOutput("", line + line);
}

TEST_F(TickOptionsTest, NumberOfStatsSaturates) {
    EXPECT_EQ(cli.ProcessOption(optionStats, "4294967297"), 3U);
    EXPECT_EQ(cli.ProcessOption(optionTickInfo, "4294967297,m"), 3U);
    ExpectOutput("No system ticks found\n\n\n\n"
                 "No system ticks found in file number 2147483647\n",
                 "File number is invalid: 2147483647\n"
                 "SECONDARY option = [m]\n"
                 "File number is invalid: 2147483647\n");
}

// ---------------------------------------------------------------------- --tickinfo

constexpr char const* dump = "\n\n\n"
                             " File: 5 Tick: 100 Offset: 188 Time: 57\n"
                             " File: 5 Tick: 101 Offset: 376 Time: 59\n"
                             "\n";
constexpr char const* distances =
    "\n\n\n"
    "   5 : Maximum consecutive tick offset delta in bytes =        188\n"
    "   5 : Minimum consecutive tick offset delta in bytes =        188\n"
    "\n";

TEST_F(TickOptionsTest, TickInfoWithoutAModeDumpsWithoutAWordAboutIt) {
    ExpectSearch();
    EXPECT_EQ(cli.ProcessOption(optionTickInfo, "5"), 3U);
    ExpectOutput(dump, "");
}

TEST_F(TickOptionsTest, TickInfoModeIsTheFirstCharacterAfterTheComma) {
    struct Case {
        char const* argument;
        char const* mode;
        char const* out;
    };
    std::string out;
    std::string err;
    for (Case const& row :
         {Case{"5,m", "m", distances}, Case{"5,x", "x", dump}, Case{"5,max", "m", distances},
          Case{"5,xm", "x", dump}, Case{"5, m", " ", dump}, Case{"5,,m", ",", dump},
          Case{"5,M", "M", dump}, Case{" 5abc,m", "m", distances}}) {
        ExpectSearch();
        EXPECT_EQ(cli.ProcessOption(optionTickInfo, row.argument), 3U) << row.argument;
        out += row.out;
        err += std::string("SECONDARY option = [") + row.mode + "]\n";
    }
    ExpectOutput(out, err);
}

TEST_F(TickOptionsTest, TickInfoWithNothingAfterTheCommaIsRefused) {
    std::string const note = "NOTE: use a comma, but no spaces between file number tickinfo option";
    std::string const before = platform.Calls();
    EXPECT_EQ(cli.ProcessOption(optionTickInfo, "5,"), 2U);
    EXPECT_EQ(cli.ProcessOption(optionTickInfo, ","), 2U);
    ExpectOutput("", note + note);
    EXPECT_EQ(platform.Calls(), before);
}

TEST_F(TickOptionsTest, TickInfoTakesTheWholeSlotOnlyWhileTheServiceDoesNotRun) {
    ExpectSearch();
    EXPECT_EQ(cli.ProcessOption(optionTickInfo, "5"), 3U);
    EXPECT_TRUE(WasCalled("file5.Read(1000, false)"));
    Prepare("");
    ExpectSearch();
    EXPECT_EQ(cli.ProcessOption(optionTickInfo, "5,m"), 3U);
    EXPECT_TRUE(WasCalled("file5.Read(192512, true)"));
}

TEST_F(TickOptionsTest, TickInfoOfWhatIsNoNumberIsThatOfAllFiles) {
    platform.pool.size = 1;
    EXPECT_EQ(cli.ProcessOption(optionTickInfo, "all,m"), 3U);
    ExpectOutput("No system ticks found in file number 1\n",
                 "SECONDARY option = [m]\ncould not open stream file: " + ErrnoText(ENOENT) + "\n");
}

} // namespace

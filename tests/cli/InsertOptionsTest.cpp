// Options -y and -Y: the argument of -y, and what reaches the tools.
#include <fstream>

#include "CliTest.h"
#include "fakes/Errno.h"
#include "fakes/Show.h"

namespace {

class InsertOptionsTest : public CliTest {
protected:
    void PutOnHardDisk(std::string const& fileName, std::string const& content) const {
        std::ofstream(platform.HardDisk(fileName), std::ios::binary) << content;
    }

    // What follows the echo of an argument whose source does not exist.
    std::string MissingSource(std::string const& sourceName) const {
        return "Could not open outfile '" + platform.HardDisk(sourceName + ".ts") +
               "': 2No such file or directory\nStated file length: 0  copied: 0\n";
    }

    bool WasCalled(std::string const& call) const {
        return platform.Calls().find(call + "\n") != std::string::npos;
    }
};

// How an argument is taken apart: the lines of its echo, and the source name that comes of it.
struct NameCase : NamedCase {
    char const* argument;
    std::string echo;
    std::string number;
    std::string sourceName;
};

class InsertArgument : public InsertOptionsTest, public ::testing::WithParamInterface<NameCase> {};

TEST_P(InsertArgument, IsShownPartByPart) {
    NameCase const& row = GetParam();
    EXPECT_EQ(cli.ProcessOption('y', row.argument), 2U);
    ExpectOutput("complete option string = [" + std::string(row.argument) + "]\n" + row.echo +
                     "\ndestination file number = " + row.number + "\nsource file name = [" +
                     row.sourceName + ".ts]\n\n",
                 row.number == "0" ? "File number is invalid: 0\nStated file length: 0  copied: 0\n"
                                   : MissingSource(row.sourceName));
}

INSTANTIATE_TEST_SUITE_P(
    Text, InsertArgument,
    ::testing::Values(
        NameCase{{"NumberAndName"},
                 "7,clip",
                 "filenumstr = [7]\ndestination file number = 7\noptarg_ less prefix = [clip]\n",
                 "7",
                 "clip"},
        NameCase{{"SuffixIsDropped"},
                 "7,clip.ts",
                 "filenumstr = [7]\ndestination file number = 7\noptarg_ less prefix = [clip.ts]\n"
                 "suffixstr = [ts]\noptarg_ less suffix = [clip]\n",
                 "7",
                 "clip"},
        NameCase{{"SuffixIsDroppedOnce"},
                 "7,clip.ts.ts",
                 "filenumstr = [7]\ndestination file number = 7\n"
                 "optarg_ less prefix = [clip.ts.ts]\n"
                 "suffixstr = [ts]\noptarg_ less suffix = [clip.ts]\n",
                 "7",
                 "clip.ts"},
        NameCase{{"OtherSuffixStays"},
                 "7,clip.mpg",
                 "filenumstr = [7]\ndestination file number = 7\n"
                 "optarg_ less prefix = [clip.mpg]\nsuffixstr = [mpg]\n",
                 "7",
                 "clip.mpg"},
        NameCase{{"SuffixIsCaseSensitive"},
                 "7,clip.TS",
                 "filenumstr = [7]\ndestination file number = 7\n"
                 "optarg_ less prefix = [clip.TS]\nsuffixstr = [TS]\n",
                 "7",
                 "clip.TS"},
        NameCase{{"EmptySuffix"},
                 "7,clip.",
                 "filenumstr = [7]\ndestination file number = 7\n"
                 "optarg_ less prefix = [clip.]\nsuffixstr = []\n",
                 "7",
                 "clip."},
        NameCase{{"EmptyName"},
                 "7,",
                 "filenumstr = [7]\ndestination file number = 7\noptarg_ less prefix = []\n",
                 "7",
                 ""},
        NameCase{{"OnlySuffix"},
                 "7,.ts",
                 "filenumstr = [7]\ndestination file number = 7\noptarg_ less prefix = [.ts]\n"
                 "suffixstr = [ts]\noptarg_ less suffix = []\n",
                 "7",
                 ""},
        NameCase{{"SecondComma"},
                 "7,a,b",
                 "filenumstr = [7]\ndestination file number = 7\noptarg_ less prefix = [a,b]\n",
                 "7",
                 "a,b"},
        NameCase{{"NumberWithRest"},
                 " 7x,clip",
                 "filenumstr = [ 7x]\ndestination file number = 7\noptarg_ less prefix = [clip]\n",
                 "7",
                 "clip"},
        NameCase{{"SaturatedNumber"},
                 "4294967297,clip",
                 "filenumstr = [4294967297]\ndestination file number = 2147483647\n"
                 "optarg_ less prefix = [clip]\n",
                 "2147483647",
                 "clip"},
        NameCase{{"NumberInName"},
                 "12.ts",
                 "filenumstr = [12]\ndestination file number = 12\n"
                 "base filename for source file = [12.ts]\n"
                 "suffixstr = [ts]\noptarg_ less suffix = [12]\n",
                 "12",
                 "12"},
        NameCase{{"NumberBeforeName"},
                 "12.day1.ts",
                 "filenumstr = [12]\ndestination file number = 12\n"
                 "base filename for source file = [12.day1.ts]\n"
                 "suffixstr = [ts]\noptarg_ less suffix = [12.day1]\n",
                 "12",
                 "12.day1"},
        NameCase{{"NumberWithoutSuffix"},
                 "12.day1",
                 "filenumstr = [12]\ndestination file number = 12\n"
                 "base filename for source file = [12.day1]\nsuffixstr = [day1]\n",
                 "12",
                 "12.day1"},
        NameCase{{"NumberWithRestInName"},
                 "12x.ts",
                 "filenumstr = [12x]\ndestination file number = 12\n"
                 "base filename for source file = [12x.ts]\n"
                 "suffixstr = [ts]\noptarg_ less suffix = [12x]\n",
                 "12",
                 "12x"},
        NameCase{{"NumberAlone"}, "12", "", "0", "12"}, //
        NameCase{{"NameAlone"}, "clip", "", "0", "clip"}, NameCase{{"Nothing"}, "", "", "0", ""}),
    NameOfCase());

TEST_F(InsertOptionsTest, ArgumentThatNamesNoTargetIsRefused) {
    struct Case {
        char const* argument;
        std::string out; // after the first line of the echo
        std::string err;
    };
    std::string const note = "error: comma implies a preceding destination file number.\n";
    Case const cases[] = {
        {",clip", "", ""},
        {",", "", ""},
        {"x,clip", "filenumstr = [x]\n", note},
        {"0,clip", "filenumstr = [0]\n", note},
        {"-7,clip.ts", "filenumstr = [-7]\n", note},
        {"clip.ts,7", "filenumstr = [clip.ts]\n", note},
        {"abc.ts", "filenumstr = [abc]\n", ""},
        {"0.ts", "filenumstr = [0]\n", ""},
        {"-5.ts", "filenumstr = [-5]\n", ""},
        {".ts", "filenumstr = []\n", ""},
    };
    std::string const before = platform.Calls();
    std::string out;
    std::string err;
    for (Case const& row : cases) {
        EXPECT_EQ(cli.ProcessOption('y', row.argument), 2U) << row.argument;
        out += "complete option string = [" + std::string(row.argument) + "]\n" + row.out;
        err += row.err;
    }
    ExpectOutput(out, err);
    EXPECT_EQ(platform.Calls(), before);
}

TEST_F(InsertOptionsTest, InsertionByNameEndsWithItsCountersOnStandardOutput) {
    PutOnHardDisk("clip.ts", "content");
    platform.AddStreamFiles({6}, 1000);
    EXPECT_EQ(cli.ProcessOption('y', "6,clip"), 3U);
    ExpectOutput("complete option string = [6,clip]\n"
                 "filenumstr = [6]\n"
                 "destination file number = 6\n"
                 "optarg_ less prefix = [clip]\n"
                 "\n"
                 "destination file number = 6\n"
                 "source file name = [clip.ts]\n"
                 "\n"
                 "Copying requested stream file from '" +
                     platform.HardDisk("clip.ts") +
                     "' to D2B file number 6\n"
                     "fstat returned a file size of 7 bytes\n"
                     "\n"
                     "StreamMgrApi::UpdateFileSize() notify message returned: success\n"
                     "Stated file length: 7  copied: 7\n",
                 "");
    EXPECT_TRUE(WasCalled("OpenStreamFile(6, false, 7)"));
    EXPECT_TRUE(WasCalled("UpdateFileSize(StreamMgrCli_4711, 6)"));
    EXPECT_EQ(platform.pool.files[6].written, "content");
    EXPECT_EQ(platform.pool.files[6].statedLength, 7);
}

TEST_F(InsertOptionsTest, FailedNotificationIsCarriedOutAllTheSame) {
    PutOnHardDisk("6.ts", "content");
    platform.AddStreamFiles({6}, 1000);
    platform.Script("UpdateFileSize", 1, {0});
    EXPECT_EQ(cli.ProcessOption('y', "6.ts"), 3U);
    EXPECT_NE(platform.Out().find("notify message returned: fail\n"
                                  "Stated file length: 7  copied: 7\n"),
              std::string::npos);
}

TEST_F(InsertOptionsTest, FailedInsertionByNameEndsWithItsCountersOnStandardError) {
    PutOnHardDisk("clip.ts", "content");
    platform.AddStreamFiles({6}, 1000);
    platform.Script("Write", 1, Fail(EIO));
    EXPECT_EQ(cli.ProcessOption('y', "6,clip"), 2U);
    EXPECT_EQ(platform.Err(), "Unexpected write status: " + ErrnoText(EIO) +
                                  "\nStated file length: 7  copied: 0\n");
}

TEST_F(InsertOptionsTest, UnboundedInsertionFillsTheSlot) {
    PutOnHardDisk("6.ts", "content");
    platform.AddStreamFiles({6}, 1000);
    EXPECT_EQ(cli.ProcessOption('Y', "6rest"), 3U);
    ExpectOutput("Copying requested stream file from '" + platform.HardDisk("6.ts") +
                     "' to D2B filesystem\n" + std::string(64, '.') +
                     "\nStated file length: 98566144  copied: 98566144\n",
                 "");
    EXPECT_TRUE(WasCalled("OpenStreamFile(6, false, 7)"));
    EXPECT_EQ(platform.pool.files[6].statedLength, 1000);
}

TEST_F(InsertOptionsTest, FailedUnboundedInsertionEndsWithItsCountersOnStandardError) {
    EXPECT_EQ(cli.ProcessOption('Y', "abc"), 2U);
    EXPECT_EQ(cli.ProcessOption('Y', "6"), 2U);
    ExpectOutput("", "File number is invalid: 0\nStated file length: 0  copied: 0\n" +
                         MissingSource("6"));
}

} // namespace

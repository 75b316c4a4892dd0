// The options whose tools speak for themselves: --multiextract, --multiread and the listings.
#include "CliTest.h"

namespace {

constexpr int optionListFiles = 0xff02;
constexpr int optionListIntermediateFiles = 0xff03;
constexpr int optionListProcesses = 0xff04;
constexpr int optionMultiExtract = 0xff05;
constexpr int optionMultiRead = 0xff06;

using ToolOptionsTest = CliTest;

TEST_F(ToolOptionsTest, MultiExtractExtractsAndIsCarriedOutWhateverFails) {
    platform.AddStreamFiles({5}, 0);
    EXPECT_EQ(cli.ProcessOption(optionMultiExtract, "5"), 3U);
    ExpectOutput("complete", "zero-length file.  File was not copied.\n"
                             "File: 5Stated file length: 0  copied: 0\n");
}

TEST_F(ToolOptionsTest, MultiReadReadsAndIsCarriedOutWhateverFails) {
    EXPECT_EQ(cli.ProcessOption(optionMultiRead, "5"), 3U);
    EXPECT_EQ(cli.ProcessOption(optionMultiRead, "0,-1,x"), 3U);
    ExpectOutput("File: 5Stated file length: 0  read: 0\ncompletecomplete",
                 "could not open stream file: 2No such file or directory\n");
}

TEST_F(ToolOptionsTest, ListingOfFilesShowsAllOrTheIntermediateOnes) {
    platform.pool.size = 1;
    platform.pool.table[1] = {StreamMgrFileMgmnt::ControlUnknown, true, 0, 0};
    EXPECT_EQ(cli.ProcessOption(optionListFiles, nullptr), 3U);
    std::string const whole = platform.Out();
    EXPECT_NE(whole.find("            1       ControlUnknown"), std::string::npos);
    EXPECT_EQ(cli.ProcessOption(optionListIntermediateFiles, nullptr), 3U);
    EXPECT_EQ(platform.Out().find("            1       ControlUnknown", whole.size()),
              std::string::npos);
}

TEST_F(ToolOptionsTest, ListingOfFilesFailsWithoutAPool) {
    platform.ScriptAlways("InitializeFileAccess", {0});
    EXPECT_EQ(cli.ProcessOption(optionListFiles, nullptr), 2U);
    EXPECT_EQ(cli.ProcessOption(optionListIntermediateFiles, nullptr), 2U);
    ExpectOutput("", "");
}

TEST_F(ToolOptionsTest, ListingOfProcessesFailsWithoutATable) {
    EXPECT_EQ(cli.ProcessOption(optionListProcesses, nullptr), 2U);
    ExpectOutput("failed to initialize shared memory\n", "");
}

TEST_F(ToolOptionsTest, ListingOfProcessesSucceedsWithATable) {
    platform.pool.processTable.assign(28 + 128 * 772, 0);
    EXPECT_EQ(cli.ProcessOption(optionListProcesses, nullptr), 3U);
    ExpectOutput("", "");
}

} // namespace

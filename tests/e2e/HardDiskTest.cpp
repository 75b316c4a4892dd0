// Copies to a hard disk that does not take them.
#include <gtest/gtest.h>

#include "Recorder.h"
#include "SmallDisk.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

class HardDisk : public testing::Test {
protected:
    static constexpr std::size_t length = 8 * chunkSize;

    HardDisk() {
        recorder.CreatePool(1);
        recorder.Load(1, Noise(length));
    }

    std::string CopyLine() const {
        return "Copying requested stream file to '" + recorder.Extracted(1).string() + "'\n";
    }

    static std::string ResultLine(std::size_t copied) {
        return "Stated file length: " + std::to_string(length) +
               "  copied: " + std::to_string(copied) + '\n';
    }

    Outcome NotOpened(std::string const& error) const {
        return {99, notRunning,
                "Could not open outfile '" + recorder.Extracted(1).string() + "': " + error + '\n' +
                    ResultLine(0)};
    }

    Recorder recorder;
};

TEST_F(HardDisk, ThatIsMissingIsReported) {
    fs::remove(recorder.HardDisk());
    EXPECT_EQ(recorder.Tool({"-x", "1"}), NotOpened("2No such file or directory"));
}

TEST_F(HardDisk, ThatIsAFileIsReported) {
    fs::remove(recorder.HardDisk());
    WriteFile(recorder.HardDisk(), "");
    EXPECT_EQ(recorder.Tool({"-x", "1"}), NotOpened("20Not a directory"));
}

TEST_F(HardDisk, WithADirectoryOfThatNameIsReported) {
    fs::create_directory(recorder.Extracted(1));
    EXPECT_EQ(recorder.Tool({"-x", "1"}), NotOpened("21Is a directory"));
}

TEST_F(HardDisk, ThatIsFullFromTheStartEndsTheCopy) {
    fs::create_symlink("/dev/full", recorder.Extracted(1));
    EXPECT_EQ(recorder.Tool({"-x", "1"}),
              (Outcome{99, notRunning + CopyLine(),
                       "Unexpected write status: 28No space left on device\n" + ResultLine(0)}));
}

// The chunk that fits in part counts as written. The next one reports that the disk is full.
TEST_F(HardDisk, ThatFillsUpEndsTheCopyAndKeepsWhatWasWritten) {
    constexpr std::size_t size = 1048576; // 5 chunks and a part of the sixth
    SmallDisk const disk(recorder.HardDisk(), size);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "only the superuser may mount a file system";
    }
    EXPECT_EQ(recorder.Tool({"-x", "1"}),
              (Outcome{99, notRunning + CopyLine(),
                       "Unexpected write status: 28No space left on device\n" +
                           ResultLine(6 * chunkSize)}));
    EXPECT_TRUE(ReadFile(recorder.Extracted(1)) == Noise(length).substr(0, size));
}

TEST_F(HardDisk, IsWrittenAlsoWhenStandardOutputTakesNothing) {
    Command command = recorder.ToolCommand({"-x", "1"});
    command.outputPath = "/dev/full";
    EXPECT_EQ(RunToEnd(command), (Outcome{0, "", ""}));
    EXPECT_TRUE(ReadFile(recorder.Extracted(1)) == Noise(length));
}

TEST_F(HardDisk, IsTheUsualMountWhenNothingElseIsSaid) {
    if (fs::exists("/mnt/hd")) {
        GTEST_SKIP() << "this machine has a /mnt/hd";
    }
    Command command = recorder.ToolCommand({"-x", "1"});
    command.environment["STREAMMGR_HD"] = "";
    EXPECT_EQ(RunToEnd(command),
              (Outcome{99, notRunning,
                       "Could not open outfile '/mnt/hd/1.ts': 2No such file or directory\n" +
                           ResultLine(0)}));
}

} // namespace
} // namespace e2e

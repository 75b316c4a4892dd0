// What an export leaves when it is killed or the disk is full.
#include "ExportTest.h"
#include "e2e/SmallDisk.h"

namespace workstation::evidence::exporting {
namespace {

using testing::IsEmpty;

class ExportFaultsTest : public ExportTest {
protected:
    ExportFaultsTest() {
        ProgramStream stream;
        LoadSlot(root_.Pool(), 2, Append(stream, 1000, 1999).Bytes());
    }
};

TEST_F(ExportFaultsTest, FullDiskLeavesNothing) {
    std::filesystem::create_directory(Out("disk"));
    e2e::SmallDisk const disk(Out("disk"), 1000000);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "file systems cannot be mounted here";
    }
    std::string const path = Out("disk/out.ts");
    EXPECT_EQ(Export({"--slots", "2"}, path),
              (Outcome{1, "", "d2b: cannot write '" + path + "': No space left on device\n"}));
    EXPECT_TRUE(std::filesystem::is_empty(Out("disk")));
    EXPECT_EQ(std::filesystem::space(Out("disk")).available,
              std::filesystem::space(Out("disk")).capacity);
}

TEST_F(ExportFaultsTest, MissingDirectoryIsReported) {
    std::string const path = Out("missing/out.ts");
    EXPECT_EQ(
        Export({"--slots", "2"}, path),
        (Outcome{1, "", "d2b: cannot write '" + path + ".json': No such file or directory\n"}));
}

// The moment of each kill is later than the one before, up to the end of the program.
TEST_F(ExportFaultsTest, KilledExportLeavesAWholeFileOrNone) {
    bool hasEnded = false;
    for (int polls = 1; !hasEnded; polls += polls / 4 + 1) {
        std::filesystem::remove(Out());
        ChildProcess child([&] {
            freopen("/dev/null", "w", stdout);
            return Execute({D2B, "export", "--slots", "2", "-o", Out()});
        });
        siginfo_t info{};
        for (int poll = 0; poll < polls && info.si_pid == 0; ++poll) {
            waitid(P_PID, static_cast<id_t>(child.Pid()), &info, WEXITED | WNOHANG | WNOWAIT);
        }
        hasEnded = info.si_pid != 0;
        child.Kill();
        if (std::filesystem::exists(Out())) {
            EXPECT_EQ(RunCommand({"verify", Out() + ".json"}).status, 0);
            EXPECT_TRUE(ChecksumIsRight(Out()));
        }
        for (std::string const& name : Names()) {
            EXPECT_TRUE(name == "out.ts" || name == "out.ts.json" || name == "out.ts.sha256")
                << name;
        }
    }
    EXPECT_TRUE(std::filesystem::exists(Out()));
}

} // namespace
} // namespace workstation::evidence::exporting

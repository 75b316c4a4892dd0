// The d2b program: what it takes, what it prints, and its exit status.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Version.h"
#include "support/ChildProcess.h"
#include "support/Execute.h"
#include "support/Files.h"
#include "support/TestRoot.h"

namespace workstation::d2b {
namespace {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

class CommandLineTest : public testing::Test {
protected:
    Outcome D2b(std::vector<std::string> arguments) const {
        std::string const out = root_.Path() + "/stdout";
        std::string const err = root_.Path() + "/stderr";
        arguments.insert(arguments.begin(), D2B_PROGRAM);
        ChildProcess program([&] {
            dup2(open(out.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), STDOUT_FILENO);
            dup2(open(err.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), STDERR_FILENO);
            return Execute(arguments);
        });
        int const status = program.Wait();
        return {status, BytesOf(out), BytesOf(err)};
    }

    void Expect(int status, std::string const& out, std::string const& err,
                std::vector<std::string> const& arguments) const {
        Outcome const outcome = D2b(arguments);
        EXPECT_EQ(outcome.status, status) << arguments.back();
        EXPECT_EQ(outcome.out, out);
        EXPECT_EQ(outcome.err, err);
    }

    // A repair, after the line that shows where the table was saved.
    void ExpectRepair(std::string const& out) const {
        Outcome const outcome = D2b({"check", "--repair"});
        std::string const saved =
            "pool '" + root_.Pool() + "': header and table of files saved as '" + root_.Pool();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_TRUE(outcome.out.starts_with(saved + ".table-")) << outcome.out;
        EXPECT_EQ(outcome.out.substr(outcome.out.find('\n') + 1), out);
        EXPECT_EQ(outcome.err, "");
    }

    // Misuse: status 2, one line on standard error and nothing else.
    void ExpectMisuse(std::vector<std::string> const& arguments) const {
        Outcome const outcome = D2b(arguments);
        std::string shown;
        for (auto const& argument : arguments) {
            shown += " " + argument;
        }
        EXPECT_EQ(outcome.status, 2) << shown;
        EXPECT_EQ(outcome.out, "") << shown;
        EXPECT_EQ(outcome.err.find("d2b: "), 0U) << shown << ": " << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << shown << ": " << outcome.err;
    }

    TestRoot root_;
};

TEST_F(CommandLineTest, PoolIsMadeFilledChangedAndChecked) {
    std::ofstream(root_.Path() + "/clip") << "clip";
    Expect(0, "", "", {"create", "--files", "3"});
    Expect(0, "", "", {"load", "2", root_.Path() + "/clip"});
    Expect(0, "pool '" + root_.Pool() + "': nothing is wrong\n", "", {"check"});
    Expect(
        0, "", "",
        {"set", "2", "--length", "3", "--controller", "9", "--db-match", "true", "--readers", "4"});
    auto const image = pool::PoolImage::Open(root_.Pool());
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->Get(2, pool::EntryWord::length), 3U);
    EXPECT_EQ(image->Get(2, pool::EntryWord::controller), 9U);
    EXPECT_EQ(image->Get(2, pool::EntryWord::dbMatch), 1U);
    EXPECT_EQ(image->Get(2, pool::EntryWord::atomicReaders), 4U);
    EXPECT_EQ(image->SlotOffset(2), 8192U + 98566144U);
    Expect(1, "stream file 2: controller 9 without a live writer\n", "", {"check"});
    ExpectRepair("stream file 2: controller 9 without a live writer; reset\n");
    Expect(0, "", "", {"set", "2", "--db-match", "false"});
    EXPECT_EQ(image->Get(2, pool::EntryWord::dbMatch), 0U);
    Expect(0, "", "", {"create", "--ext4", "--files", "3", "--force"});
    EXPECT_TRUE(std::filesystem::is_directory(root_.Pool()));
}

// The header and the table take 8 KiB, from 257 files on 12 KiB.
TEST_F(CommandLineTest, SizeIsThatOfTheWholeImage) {
    for (auto const& [size, files] :
         std::vector<std::pair<std::string, int>>{{"98574336", 1},
                                                  {"98574336b", 1},
                                                  {"188M", 1},
                                                  {"192520K", 2},
                                                  {"192519k", 1},
                                                  {"1G", 10},
                                                  {"1g", 10},
                                                  {"1GiB", 10},
                                                  {"24641544K", 256}, // to the byte
                                                  {"24641543K", 255},
                                                  {"24737803K", 256},
                                                  {"24737804K", 257}, // to the byte
                                                  {"2T", 22310},
                                                  {"8T", 89240}}) {
        Expect(0, "", "", {"create", "--force", "--size", size});
        EXPECT_EQ(pool::PoolImage::Open(root_.Pool())->FileCount(), files) << size;
    }
}

TEST_F(CommandLineTest, SizeThatIsTooSmallOrTooLargeIsExplained) {
    Expect(2, "",
           "d2b: --size: 98566144 bytes are too few for a stream file: it takes 98574336 (see d2b "
           "--help)\n",
           {"create", "--size", "94M"});
    Expect(2, "",
           "d2b: --size: 10995116277760 bytes are too many: 100000 stream files take "
           "9856616005632 (see d2b --help)\n",
           {"create", "--size", "10T"});
}

TEST_F(CommandLineTest, LargestValuesAreAccepted) {
    Expect(0, "", "", {"create", "--files", "1"});
    Expect(0, "", "",
           {"set", "1", "--length", "98566144", "--controller", "255", "--readers", "2147483647"});
    auto const image = pool::PoolImage::Open(root_.Pool());
    EXPECT_EQ(image->Get(1, pool::EntryWord::length), 98566144U);
    EXPECT_EQ(image->Get(1, pool::EntryWord::controller), 255U);
    EXPECT_EQ(image->Get(1, pool::EntryWord::atomicReaders), 2147483647U);
}

TEST_F(CommandLineTest, CheckThatLeavesAnythingIsStatus1) {
    root_.MakePool(1);
    std::filesystem::resize_file(root_.Pool(), pool::PoolImageSize(1) + 1);
    std::filesystem::create_directory(root_.Path() + "/shm");
    std::ofstream(root_.ProcessTable()) << "nonsense";
    Expect(1,
           "pool '" + root_.Pool() +
               "': too long: 98574337 bytes, but 1 stream files take 98574336"
               "; not repaired: it cannot be repaired\n"
               "process table '" +
               root_.ProcessTable() +
               "': 8 bytes, not 98844; removed, the next process makes a new one\n",
           "", {"check", "--repair"});
}

TEST_F(CommandLineTest, KilledProcessInTheTableIsNoDamage) {
    root_.MakePool(1);
    ChildProcess writer([](auto const& parent) {
        StreamFileAccess().InitializeFileAccess(false, true);
        StreamFileAccess const file(1, false, StreamMgrFileMgmnt::ControlStream3);
        parent.Tell();
        parent.Await();
        return 0;
    });
    ASSERT_TRUE(writer.Await());
    std::string const record =
        "process table: process " + std::to_string(writer.Pid()) + " is gone";
    std::string const controller = "stream file 1: controller 4 without a live writer";
    std::string const cleared = "; the next process that uses the pool clears it\n";
    std::string const sound = "pool '" + root_.Pool() + "': nothing is wrong\n";
    writer.Kill();
    Expect(0, controller + cleared + record + cleared + sound, "", {"check"});
    Expect(0, controller + "; reset\n" + record + "; record cleared\n" + sound, "",
           {"check", "--repair"});
    Expect(0, sound, "", {"check"});
}

TEST_F(CommandLineTest, FailureIsOneLineAndStatus1) {
    std::string const missing =
        "d2b: pool '" + root_.Pool() + "': cannot open: No such file or directory\n";
    Expect(1, "", missing, {"set", "1", "--length", "0"});
    Expect(1, "", missing, {"load", "1", "/dev/../etc/passwd"});
    Expect(1, "", missing, {"check"});
    Expect(1, "", missing, {"check", "--repair"});
    Expect(0, "", "", {"create", "--files", "1"});
    Expect(1, "", "d2b: pool '" + root_.Pool() + "' exists already (--force replaces it)\n",
           {"create", "--files", "1"});
    Expect(1, "", "d2b: stream file 2: the pool has no such file; it has 1\n",
           {"set", "2", "--length", "0"});
    Expect(1, "", "d2b: cannot open '/none': No such file or directory\n", {"load", "1", "/none"});
}

TEST_F(CommandLineTest, MisuseIsOneLineAndStatus2) {
    std::vector<std::vector<std::string>> const wrong = {
        {},
        {"bogus"},
        {"create"},
        {"create", "--files"},
        {"create", "--files", "x"},
        {"create", "--files", "-1"},
        {"create", "--files", "100001"},
        {"create", "--files", "99999999999"},
        {"create", "--files", "1", "surplus"},
        {"create", "--files", "1", "--bogus"},
        {"create", "--allocate"},
        {"create", "--files", "1", "--size", "1G"},
        {"create", "--files", "1", "--ext4", "--allocate"},
        {"create", "--size"},
        {"create", "--size", "x"},
        {"create", "--size", "-1G"},
        {"create", "--size", "1.5G"},
        {"create", "--size", "1X"},
        {"create", "--size", "0"},
        {"create", "--size", "94M"},
        {"create", "--size", "98574335"},
        {"create", "--size", "9T"},
        {"create", "--size", "99999999999T"},
        {"create", "--size", "99999999999999999999"},
        {"load"},
        {"load", "1"},
        {"load", "x", "file"},
        {"load", "1", "file", "surplus"},
        {"set"},
        {"set", "1"},
        {"set", "x", "--length", "1"},
        {"set", "1", "--length", "98566145"},
        {"set", "1", "--length", "-1"},
        {"set", "1", "--controller", "256"},
        {"set", "1", "--db-match", "maybe"},
        {"set", "1", "--db-match", "1"},
        {"set", "1", "--readers", "-1"},
        {"set", "1", "--readers", "2147483648"},
        {"check", "surplus"},
        {"check", "--bogus"},
    };
    for (auto const& arguments : wrong) {
        ExpectMisuse(arguments);
    }
    EXPECT_FALSE(std::filesystem::exists(root_.Pool()));
}

TEST_F(CommandLineTest, HelpIsStatus0) {
    for (std::vector<std::string> const& arguments : {std::vector<std::string>{"--help"},
                                                      {"create", "--help"},
                                                      {"load", "-h"},
                                                      {"set", "--help"},
                                                      {"check", "--help"}}) {
        Outcome const outcome = D2b(arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.out.find("Usage: "), std::string::npos) << outcome.out;
        EXPECT_EQ(outcome.err, "");
    }
}

TEST_F(CommandLineTest, VersionIsStatus0) {
    Expect(0, std::string("d2b ") + version + "\n", "", {"--version"});
}

} // namespace
} // namespace workstation::d2b

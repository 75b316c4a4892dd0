// d2b check: what is found, and what a repair does.
#include "d2b/CheckPool.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "StreamFileAccess.h"
#include "pool/RootLock.h"
#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/TestRoot.h"

namespace workstation::d2b {
namespace {

using Lines = std::vector<std::string>;

class CheckTest : public testing::Test {
protected:
    CheckTest() { root_.MakePool(3); }

    // The findings; "(remains) " stands before one that is still there.
    static Lines Check(bool repair) {
        Lines lines;
        for (auto const& finding : CheckPool(repair)) {
            lines.push_back((finding.remains ? "(remains) " : "") + finding.text);
        }
        return lines;
    }

    // Expects a check to find `text`, a repair to do `done`, and nothing to be left then.
    static void ExpectRepaired(std::string const& text, std::string const& done) {
        EXPECT_EQ(Check(false), Lines{"(remains) " + text});
        EXPECT_EQ(Check(false), Lines{"(remains) " + text}) << "a check changes nothing";
        EXPECT_EQ(Check(true), Lines{text + "; " + done});
        EXPECT_EQ(Check(false), Lines{});
    }

    static void ExpectNotRepaired(std::string const& text, std::string const& why) {
        EXPECT_EQ(Check(false), Lines{"(remains) " + text});
        EXPECT_EQ(Check(true), Lines{"(remains) " + text + "; not repaired: " + why});
        EXPECT_EQ(Check(false), Lines{"(remains) " + text});
    }

    std::string Name() const { return "pool '" + root_.Pool() + "': "; }

    std::uint32_t Get(int number, pool::EntryWord word) const {
        return pool::PoolImage::Open(root_.Pool())->Get(number, word);
    }

    void Set(int number, pool::EntryWord word, std::uint32_t value) const {
        pool::PoolImage::Open(root_.Pool())->Set(number, word, value);
    }

    TestRoot root_;
};

TEST_F(CheckTest, SoundPoolHasNoFindings) {
    EXPECT_EQ(Check(false), Lines{});
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    StreamFileAccess const writer(1, false, StreamMgrFileMgmnt::ControlStream1);
    StreamFileAccess const reader(2, 0);
    EXPECT_EQ(Check(false), Lines{});
    EXPECT_EQ(Check(true), Lines{});
    EXPECT_EQ(Get(1, pool::EntryWord::controller), 2U);
}

TEST_F(CheckTest, DirectoryPoolIsNotLookedInto) {
    std::filesystem::remove(root_.Pool());
    std::filesystem::create_directory(root_.Pool());
    EXPECT_EQ(Check(true), Lines{});
}

TEST_F(CheckTest, LengthBeyondTheSlotIsClipped) {
    Set(2, pool::EntryWord::length, 98566145);
    ExpectRepaired("stream file 2: stated length 98566145 is beyond the slot of 98566144 bytes",
                   "clipped");
    EXPECT_EQ(Get(2, pool::EntryWord::length), 98566144U);
}

TEST_F(CheckTest, ControllerWithoutAWriterIsReset) {
    Set(1, pool::EntryWord::controller, 9);
    ExpectRepaired("stream file 1: controller 9 without a live writer", "reset");
    EXPECT_EQ(Get(1, pool::EntryWord::controller), 0U);
}

TEST_F(CheckTest, LargestValuesOfTheOtherWordsAreSound) {
    Set(3, pool::EntryWord::length, 98566144);
    Set(3, pool::EntryWord::dbMatch, 1);
    Set(3, pool::EntryWord::atomicReaders, 0x7FFFFFFF);
    EXPECT_EQ(Check(false), Lines{});
}

TEST_F(CheckTest, NonsenseInTheOtherWordsIsSetToZero) {
    Set(3, pool::EntryWord::dbMatch, 2);
    ExpectRepaired("stream file 3: database match is 2, neither 0 nor 1", "set to 0");
    Set(3, pool::EntryWord::atomicReaders, 0x80000000);
    ExpectRepaired("stream file 3: number of atomic readers is negative", "set to 0");
}

TEST_F(CheckTest, AllFindingsAreListedInOrder) {
    Set(1, pool::EntryWord::controller, 3);
    Set(3, pool::EntryWord::length, 0xFFFFFFFF);
    Set(3, pool::EntryWord::controller, 7);
    EXPECT_EQ(Check(false),
              (Lines{"(remains) stream file 1: controller 3 without a live writer",
                     "(remains) stream file 3: stated length 4294967295 is beyond the slot of "
                     "98566144 bytes",
                     "(remains) stream file 3: controller 7 without a live writer"}));
}

TEST_F(CheckTest, DamagedHeaderIsRebuiltFromTheSize) {
    Set(2, pool::EntryWord::length, 5);
    WriteBytes(root_.Pool(), "X", 0);
    ExpectRepaired(Name() + "not a pool image: the magic number is missing",
                   "rebuilt for 3 stream files");
    EXPECT_EQ(Get(2, pool::EntryWord::length), 5U) << "the table has stayed";
    WriteBytes(root_.Pool(), std::string(4096, '\xFF'), 0);
    EXPECT_EQ(Check(true).size(), 1U);
    EXPECT_EQ(Check(false), Lines{});
}

TEST_F(CheckTest, DamagedHeaderOfAnOddSizeStays) {
    WriteBytes(root_.Pool(), "X", 0);
    std::filesystem::resize_file(root_.Pool(), 98570000);
    ExpectNotRepaired(Name() + "not a pool image: the magic number is missing",
                      "98570000 bytes are the size of no pool image");
}

TEST_F(CheckTest, FileShorterThanAHeaderStays) {
    std::filesystem::resize_file(root_.Pool(), 100);
    ExpectNotRepaired(Name() + "not a pool image: 100 bytes are no header page",
                      "100 bytes are the size of no pool image");
}

TEST_F(CheckTest, TruncatedImageIsExtendedAndLostFilesAreEmptied) {
    // The cut goes through the slot of file 2. How much of each file is stated, and what is left:
    //   1  full slot      full slot
    //   2  1000 bytes     1000 bytes, they lie before the cut
    //   3  1 byte         nothing
    Set(1, pool::EntryWord::length, 98566144);
    Set(2, pool::EntryWord::length, 1000);
    Set(3, pool::EntryWord::length, 1);
    std::filesystem::resize_file(root_.Pool(), 8192 + 98566144 + 1000);
    ExpectRepaired(Name() + "truncated: 98575336 bytes, but 3 stream files take 295706624",
                   "extended, length set to 0 for stream files 3");
    EXPECT_EQ(Get(1, pool::EntryWord::length), 98566144U);
    EXPECT_EQ(Get(2, pool::EntryWord::length), 1000U);
    EXPECT_EQ(Get(3, pool::EntryWord::length), 0U);
}

TEST_F(CheckTest, TruncationByOneByteLosesTheFileThatNeedsIt) {
    Set(2, pool::EntryWord::length, 1000);
    std::filesystem::resize_file(root_.Pool(), 8192 + 98566144 + 999);
    ExpectRepaired(Name() + "truncated: 98575335 bytes, but 3 stream files take 295706624",
                   "extended, length set to 0 for stream files 2");
}

TEST_F(CheckTest, TruncationOfUnusedSlotsLosesNothing) {
    std::filesystem::resize_file(root_.Pool(), 8192);
    ExpectRepaired(Name() + "truncated: 8192 bytes, but 3 stream files take 295706624", "extended");
}

TEST_F(CheckTest, CutTableIsExtendedWithEmptyEntries) {
    for (int number = 1; number <= 3; ++number) {
        Set(number, pool::EntryWord::length, 10);
    }
    // Behind the entry of file 1 and the first three words of that of file 2.
    std::filesystem::resize_file(root_.Pool(), 4096 + 16 + 12);
    ExpectRepaired(Name() + "truncated: 4124 bytes, but 3 stream files take 295706624",
                   "extended, length set to 0 for stream files 1");
    for (int number = 1; number <= 3; ++number) {
        EXPECT_EQ(Get(number, pool::EntryWord::length), 0U);
    }
}

TEST_F(CheckTest, ImageThatIsTooLongStays) {
    std::filesystem::resize_file(root_.Pool(), pool::PoolImageSize(3) + 1);
    ExpectNotRepaired(Name() + "too long: 295706625 bytes, but 3 stream files take 295706624",
                      "it cannot be repaired");
}

TEST_F(CheckTest, MissingPoolStays) {
    std::filesystem::remove(root_.Pool());
    ExpectNotRepaired(Name() + "cannot open: No such file or directory", "it cannot be repaired");
}

TEST_F(CheckTest, WholeImageIsNotTouchedUnderARunningService) {
    WriteBytes(root_.Pool(), "X", 0);
    FileDescriptor owner = pool::LockRoot();
    ExpectNotRepaired(Name() + "not a pool image: the magic number is missing",
                      "'" + root_.Path() + "' is in use by a running stream manager");
    owner.Reset();
    EXPECT_EQ(Check(true).size(), 1U);
    EXPECT_EQ(Check(true), Lines{});
}

TEST_F(CheckTest, EntriesAreRepairedUnderARunningService) {
    Set(1, pool::EntryWord::controller, 9);
    FileDescriptor const owner = pool::LockRoot();
    ExpectRepaired("stream file 1: controller 9 without a live writer", "reset");
}

TEST_F(CheckTest, KilledWriterIsFoundInBothTables) {
    ChildProcess writer([](auto const& parent) {
        StreamFileAccess().InitializeFileAccess(false, true);
        StreamFileAccess const file(2, false, StreamMgrFileMgmnt::ControlStream3);
        parent.Tell();
        parent.Await();
        return 0;
    });
    ASSERT_TRUE(writer.Await());
    EXPECT_EQ(Check(true), Lines{}) << "it is alive";
    std::string const pid = std::to_string(writer.Pid());
    writer.Kill();
    Lines const findings = {"stream file 2: controller 4 without a live writer",
                            "process table: process " + pid + " is gone"};
    EXPECT_EQ(Check(false), (Lines{"(remains) " + findings[0], "(remains) " + findings[1]}));
    EXPECT_EQ(Check(true), (Lines{findings[0] + "; reset", findings[1] + "; record cleared"}));
    EXPECT_EQ(Check(false), Lines{});
}

TEST_F(CheckTest, DamagedProcessTableIsRemoved) {
    std::filesystem::create_directory(root_.Path() + "/shm");
    std::ofstream(root_.ProcessTable()) << "nonsense";
    ExpectRepaired("process table '" + root_.ProcessTable() + "': 8 bytes, not 98844",
                   "removed, the next process makes a new one");
    EXPECT_FALSE(std::filesystem::exists(root_.ProcessTable()));
    std::ofstream(root_.ProcessTable()) << std::string(98844, 'x');
    ExpectRepaired("process table '" + root_.ProcessTable() +
                       "': the header is not of this version",
                   "removed, the next process makes a new one");
}

TEST_F(CheckTest, RecordsCannotBeClearedWithoutAPool) {
    StreamFileAccess pool;
    ChildProcess reader([](auto const& parent) {
        StreamFileAccess().InitializeFileAccess(false, true);
        parent.Tell();
        parent.Await();
        return 0;
    });
    ASSERT_TRUE(reader.Await());
    std::string const pid = std::to_string(reader.Pid());
    reader.Kill();
    std::filesystem::resize_file(root_.Pool(), 100);
    EXPECT_EQ(Check(true)[1], "(remains) process table: process " + pid +
                                  " is gone; not repaired: the pool cannot be opened");
}

} // namespace
} // namespace workstation::d2b

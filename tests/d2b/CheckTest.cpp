// d2b check: what is found, and what a repair does.
#include "d2b/CheckPool.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <regex>
#include <set>

#include "StreamFileAccess.h"
#include "pool/RootLock.h"
#include "support/ChildProcess.h"
#include "support/FailureOf.h"
#include "support/Files.h"
#include "support/SyncCalls.h"
#include "support/TestRoot.h"

namespace workstation::d2b {
namespace {

using Lines = std::vector<std::string>;

class CheckTest : public testing::Test {
protected:
    CheckTest() { root_.MakePool(3); }

    // The findings: "(remains) " stands before damage that is still there, "(note) " before what is
    // no damage. That of a saved table goes without its path, which is kept.
    Lines Check(bool repair) {
        Lines lines;
        for (auto const& [text, kind] : CheckPool(repair)) {
            std::string const saved = Name() + "header and table of files saved as '";
            bool const isSaved = text.starts_with(saved);
            if (isSaved) {
                savedTables_.push_back(text.substr(saved.size(), text.size() - saved.size() - 1));
            }
            lines.push_back((kind == FindingKind::remains ? "(remains) "
                             : kind == FindingKind::note  ? "(note) "
                                                          : "") +
                            (isSaved ? "saved" : text));
        }
        return lines;
    }

    // Expects a check to find `text`, a repair of the image to do `done`, after its table as it was
    // has been saved, and nothing to be left then.
    void ExpectRepaired(std::string const& text, std::string const& done) {
        EXPECT_EQ(Check(false), Lines{"(remains) " + text});
        EXPECT_EQ(Check(false), Lines{"(remains) " + text}) << "a check changes nothing";
        std::string const table = Table();
        EXPECT_EQ(Check(true), (Lines{"(note) saved", text + "; " + done}));
        ASSERT_FALSE(savedTables_.empty());
        EXPECT_EQ(BytesOf(savedTables_.back()), table);
        EXPECT_EQ(Check(false), Lines{});
    }

    // The same for damage outside of the image.
    void ExpectRemedied(std::string const& text, std::string const& done) {
        EXPECT_EQ(Check(false), Lines{"(remains) " + text});
        EXPECT_EQ(Check(true), Lines{text + "; " + done});
        EXPECT_EQ(Check(false), Lines{});
    }

    void ExpectNotRepaired(std::string const& text, std::string const& why) {
        EXPECT_EQ(Check(false), Lines{"(remains) " + text});
        EXPECT_EQ(Check(true), Lines{"(remains) " + text + "; not repaired: " + why});
        EXPECT_EQ(Check(false), Lines{"(remains) " + text});
    }

    std::string Name() const { return "pool '" + root_.Pool() + "': "; }

    // The header and the table of the three files, as far as the image reaches.
    std::string Table() const {
        std::string bytes(8192, '\0');
        std::ifstream image(root_.Pool(), std::ios::binary);
        image.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return bytes.substr(0, static_cast<std::size_t>(image.gcount()));
    }

    std::uint32_t Get(int number, pool::EntryWord word) const {
        return pool::PoolImage::Open(root_.Pool())->Get(number, word);
    }

    void Set(int number, pool::EntryWord word, std::uint32_t value) const {
        pool::PoolImage::Open(root_.Pool())->Set(number, word, value);
    }

    TestRoot root_;
    Lines savedTables_;
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
    EXPECT_EQ(Check(true).size(), 2U);
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

// A save of the same second does not replace the one before.
TEST_F(CheckTest, EachRepairKeepsItsOwnSave) {
    for (std::uint32_t const readers : {0x80000001U, 0x80000002U, 0x80000003U}) {
        Set(1, pool::EntryWord::atomicReaders, readers);
        ExpectRepaired("stream file 1: number of atomic readers is negative", "set to 0");
    }
    EXPECT_EQ(std::set<std::string>(savedTables_.begin(), savedTables_.end()).size(), 3U);
    std::size_t files = 0;
    for (auto const& entry : std::filesystem::directory_iterator(root_.Path())) {
        std::string const name = entry.path().filename();
        if (name.starts_with("pool.")) {
            EXPECT_TRUE(
                std::regex_match(name, std::regex("pool\\.table-[0-9]{8}-[0-9]{6}(-[23])?")))
                << name;
            ++files;
        }
    }
    EXPECT_EQ(files, 3U);
}

TEST_F(CheckTest, OneSaveIsMadeForAllRepairs) {
    for (int number = 1; number <= 3; ++number) {
        Set(number, pool::EntryWord::length, 0xFFFFFFFF);
    }
    WriteBytes(root_.Pool(), "X", 0);
    std::string const damaged = Table();
    EXPECT_EQ(Check(true).size(), 1U + 1U + 3U);
    ASSERT_EQ(savedTables_.size(), 1U);
    EXPECT_EQ(BytesOf(savedTables_[0]), damaged);
    EXPECT_NE(Table(), damaged);
}

TEST_F(CheckTest, TableThatCannotBeSavedIsNotRepaired) {
    Set(2, pool::EntryWord::length, 98566145);
    SyncCalls const calls("fsync", ENOSPC);
    Lines const findings = Check(true);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_TRUE(findings[0].starts_with("(remains) stream file 2: stated length 98566145 is beyond "
                                        "the slot of 98566144 bytes; not repaired: cannot write '" +
                                        root_.Pool() + ".table-"))
        << findings[0];
    EXPECT_EQ(Get(2, pool::EntryWord::length), 98566145U);
    for (auto const& entry : std::filesystem::directory_iterator(root_.Path())) {
        EXPECT_EQ(entry.path().filename(), "pool");
    }
}

TEST_F(CheckTest, RepairThatIsNotDurableRemains) {
    Set(2, pool::EntryWord::dbMatch, 7);
    SyncCalls const calls("msync", EIO);
    EXPECT_EQ(Check(true).back(),
              "(remains) " + Name() + "cannot make the table durable: Input/output error");
}

// The save, its name; the shorter lengths; the size; the table.
TEST_F(CheckTest, RepairOfATruncatedImageIsDurableInEveryStep) {
    std::filesystem::resize_file(root_.Pool(), 8192);
    SyncCalls const calls;
    EXPECT_EQ(Check(true).size(), 2U);
    EXPECT_EQ(calls.Names(), (Lines{"fsync", "fsync", "fsync", "fsync", "msync"}));
}

// A repair that was interrupted before it extended the image can be repeated.
TEST_F(CheckTest, ShorterLengthsAreDurableBeforeTheImageIsExtended) {
    Set(1, pool::EntryWord::length, 98566144);
    std::filesystem::resize_file(root_.Pool(), 8192 + 1000);
    rlimit former{};
    getrlimit(RLIMIT_FSIZE, &former);
    rlimit const small = {8192 + 1000, former.rlim_max};
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    Lines const findings = Check(true);
    setrlimit(RLIMIT_FSIZE, &former);
    std::string const text = Name() + "truncated: 9192 bytes, but 3 stream files take 295706624";
    EXPECT_EQ(findings, (Lines{"(note) saved", "(remains) " + text +
                                                   "; not repaired: cannot extend "
                                                   "it: File too large"}));
    ExpectRepaired(text, "extended");
    EXPECT_EQ(Get(1, pool::EntryWord::length), 940U);
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

// How many bytes of the slot are left, and how many of them are whole packets.
TEST_F(CheckTest, FileThatIsCutKeepsItsWholePackets) {
    struct {
        std::uint32_t left;
        std::uint32_t kept;
    } const cases[] = {{999, 940}, {940, 940},           {939, 752},          {189, 188},
                       {188, 188}, {49283072, 49283072}, {98566143, 98565956}};
    for (auto const& cut : cases) {
        root_.MakePool(3);
        Set(1, pool::EntryWord::length, 98566144);
        Set(2, pool::EntryWord::length, 98566144);
        Set(3, pool::EntryWord::length, 188);
        WriteBytes(root_.Pool(), "data", pool::PoolSlotOffset(3, 2));
        std::uint64_t const size = 8192 + 98566144 + std::uint64_t{cut.left};
        std::filesystem::resize_file(root_.Pool(), size);
        ExpectRepaired(Name() + "truncated: " + std::to_string(size) +
                           " bytes, but 3 stream files take 295706624",
                       "extended, stream file 2 cut from 98566144 to " + std::to_string(cut.kept) +
                           " bytes, length set to 0 for stream files 3");
        EXPECT_EQ(Get(1, pool::EntryWord::length), 98566144U);
        EXPECT_EQ(Get(2, pool::EntryWord::length), cut.kept);
        EXPECT_EQ(Get(3, pool::EntryWord::length), 0U);
        std::ifstream image(root_.Pool(), std::ios::binary);
        image.seekg(static_cast<std::streamoff>(pool::PoolSlotOffset(3, 2)));
        std::string data(4, '\0');
        image.read(data.data(), 4);
        EXPECT_EQ(data, "data");
    }
}

TEST_F(CheckTest, LessThanAPacketIsNothing) {
    Set(2, pool::EntryWord::length, 1000);
    std::filesystem::resize_file(root_.Pool(), 8192 + 98566144 + 187);
    ExpectRepaired(Name() + "truncated: 98574523 bytes, but 3 stream files take 295706624",
                   "extended, length set to 0 for stream files 2");
}

TEST_F(CheckTest, DamagedLengthOfAWholeSlotIsClippedAfterTheImageIsExtended) {
    Set(1, pool::EntryWord::length, 0xFFFFFFFF);
    std::filesystem::resize_file(root_.Pool(), 8192 + 98566144);
    EXPECT_EQ(Check(true),
              (Lines{"(note) saved",
                     Name() + "truncated: 98574336 bytes, but 3 stream files take 295706624; "
                              "extended",
                     "stream file 1: stated length 4294967295 is beyond the slot of 98566144 "
                     "bytes; clipped"}));
    EXPECT_EQ(Get(1, pool::EntryWord::length), 98566144U);
}

TEST_F(CheckTest, DamagedLengthOfACutSlotKeepsTheWholePackets) {
    Set(1, pool::EntryWord::length, 0xFFFFFFFF);
    std::filesystem::resize_file(root_.Pool(), 8192 + 1000);
    ExpectRepaired(Name() + "truncated: 9192 bytes, but 3 stream files take 295706624",
                   "extended, stream file 1 cut from 4294967295 to 940 bytes");
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

TEST_F(CheckTest, MissingPoolIsAFailure) {
    std::filesystem::remove(root_.Pool());
    for (bool const repair : {false, true}) {
        EXPECT_EQ(FailureOf([&] { CheckPool(repair); }),
                  Name() + "cannot open: No such file or directory");
        EXPECT_EQ(ErrorOf([&] { CheckPool(repair); }), ENOENT);
    }
}

TEST_F(CheckTest, WholeImageIsNotTouchedUnderARunningService) {
    WriteBytes(root_.Pool(), "X", 0);
    FileDescriptor owner = pool::LockRoot();
    ExpectNotRepaired(Name() + "not a pool image: the magic number is missing",
                      "'" + root_.Path() + "' is in use by a running stream manager");
    EXPECT_TRUE(savedTables_.empty());
    owner.Reset();
    EXPECT_EQ(Check(true).size(), 2U);
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
    std::string const cleared = "; the next process that uses the pool clears it";
    EXPECT_EQ(Check(false),
              (Lines{"(note) " + findings[0] + cleared, "(note) " + findings[1] + cleared}));
    EXPECT_EQ(Check(true), (Lines{"(note) " + findings[0] + "; reset",
                                  "(note) " + findings[1] + "; record cleared"}));
    EXPECT_EQ(Check(false), Lines{});
}

TEST_F(CheckTest, DamagedProcessTableIsRemoved) {
    std::filesystem::create_directory(root_.Path() + "/shm");
    std::ofstream(root_.ProcessTable()) << "nonsense";
    ExpectRemedied("process table '" + root_.ProcessTable() + "': 8 bytes, not 98844",
                   "removed, the next process makes a new one");
    EXPECT_FALSE(std::filesystem::exists(root_.ProcessTable()));
    std::ofstream(root_.ProcessTable()) << std::string(98844, 'x');
    ExpectRemedied("process table '" + root_.ProcessTable() +
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

// Reaching the pool and leaving it again.
#include <gmock/gmock.h>
#include <signal.h>

#include "StreamFileAccess.h"
#include "pool/ProcessTable.h"
#include "support/ChildProcess.h"
#include "support/Execute.h"
#include "support/Files.h"
#include "support/LogFile.h"
#include "support/TestRoot.h"

using testing::ElementsAre;

namespace workstation::pool {
namespace {

// What InitializeFileAccess writes into the log when it fails.
std::vector<std::string> Refusal(TestRoot const& root, bool atomicRead = false) {
    LogFile const log(root.Path() + "/log");
    StreamFileAccess pool;
    EXPECT_FALSE(pool.InitializeFileAccess(atomicRead, true));
    EXPECT_EQ(pool.GetFilePoolSize(), 0);
    int const error = errno;
    auto entries = log.Entries();
    errno = error;
    return entries;
}

TEST(Initialize, MissingPoolIsOneEntry) {
    TestRoot const root;
    EXPECT_THAT(Refusal(root),
                ElementsAre("pool '" + root.Pool() + "': cannot open: No such file or directory"));
    EXPECT_EQ(errno, ENOENT);
}

TEST(Initialize, DamagedPoolIsOneEntry) {
    TestRoot const root;
    root.MakePool(2);
    std::filesystem::resize_file(root.Pool(), 5000);
    EXPECT_THAT(Refusal(root),
                ElementsAre("pool '" + root.Pool() +
                            "': truncated: 5000 bytes, but 2 stream files take 197140480"));
    EXPECT_EQ(errno, EUCLEAN);
}

TEST(Initialize, AtomicReadingIsRefused) {
    TestRoot const root;
    root.MakePool(2);
    EXPECT_THAT(
        Refusal(root, true),
        ElementsAre("pool '" + root.Pool() + "': atomic reading is not offered on a workstation"));
    EXPECT_EQ(errno, ENOTSUP);
}

TEST(Initialize, PoolHasItsSizeFromInitializeToUnload) {
    TestRoot const root;
    root.MakePool(3);
    StreamFileAccess pool;
    StreamMgrFileMgmnt::FileMgmnt_t info{};
    EXPECT_EQ(pool.GetFilePoolSize(), 0);
    EXPECT_FALSE(pool.GetFileInfo(1, info));
    EXPECT_FALSE(StreamFileAccess(1, 0).IsOpen());
    EXPECT_EQ(errno, ENOENT);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(pool.InitializeFileAccess(false, true));
        EXPECT_EQ(pool.GetFilePoolSize(), 3);
    }
    pool.Unload();
    EXPECT_EQ(pool.GetFilePoolSize(), 0);
    EXPECT_FALSE(pool.GetFileInfo(1, info));
    pool.Unload();
    EXPECT_TRUE(pool.InitializeFileAccess(false, true));
    EXPECT_EQ(pool.GetFilePoolSize(), 3);
}

TEST(Initialize, UnloadWithoutInitializeKeepsErrno) {
    errno = 77;
    StreamFileAccess().Unload();
    EXPECT_EQ(errno, 77);
}

TEST(Initialize, AnotherRootIsAnotherPool) {
    TestRoot const first;
    TestRoot const second;
    first.MakePool(1);
    second.MakePool(2);
    StreamFileAccess pool;
    for (int i = 0; i < 3; ++i) {
        first.Use();
        ASSERT_TRUE(pool.InitializeFileAccess(false, true));
        EXPECT_EQ(pool.GetFilePoolSize(), 1);
        pool.Unload();
        second.Use();
        ASSERT_TRUE(pool.InitializeFileAccess(false, true));
        EXPECT_EQ(pool.GetFilePoolSize(), 2);
    }
}

TEST(Initialize, RootChangedWithoutUnloadGivesBackTheFormerRecord) {
    TestRoot const first;
    TestRoot const second;
    first.MakePool(1);
    second.MakePool(2);
    StreamFileAccess pool;
    first.Use();
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    std::string const registered = BytesOf(first.ProcessTable());
    second.Use();
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    EXPECT_NE(BytesOf(first.ProcessTable()), registered);
    EXPECT_EQ(BytesOf(second.ProcessTable()), registered);
}

TEST(Initialize, ReplacedPoolIsReachedAgainAndOldStreamsGoOn) {
    TestRoot const root;
    root.MakePool(1);
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    StreamFileAccess old(1, false, StreamMgrFileMgmnt::ControlExternalProc);
    ASSERT_EQ(old.Truncate(5), 0);
    std::filesystem::rename(root.Pool(), root.Path() + "/old");
    root.MakePool(2);
    EXPECT_FALSE(StreamFileAccess(1, 0).IsOpen());
    EXPECT_EQ(errno, ESTALE);
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    EXPECT_EQ(pool.GetFilePoolSize(), 2);
    EXPECT_EQ(StreamFileAccess(1, 0).DataLength(), 0);
    EXPECT_EQ(old.DataLength(), 5);
}

TEST(Initialize, PoolThatWasTruncatedSinceIsRefused) {
    TestRoot const root;
    root.MakePool(2);
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    std::filesystem::resize_file(root.Pool(), PoolImageSize(2) - 1);
    EXPECT_FALSE(pool.InitializeFileAccess(false, true));
    EXPECT_EQ(errno, EUCLEAN);
    std::filesystem::resize_file(root.Pool(), PoolImageSize(2));
    EXPECT_TRUE(pool.InitializeFileAccess(false, true));
}

TEST(Initialize, OpenStreamsOutliveUnload) {
    TestRoot const root;
    root.MakePool(1);
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    StreamFileAccess file(1, 0);
    pool.Unload();
    unsigned char byte = 0xEE;
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Read(&byte, 1, true), 1);
    EXPECT_EQ(byte, 0);
}

TEST(Initialize, UnlistedProcessLeavesTheTableAlone) {
    TestRoot const root;
    root.MakePool(1);
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, false));
    std::string const empty = BytesOf(root.ProcessTable());
    StreamFileAccess const file(1, 0);
    EXPECT_EQ(BytesOf(root.ProcessTable()), empty);
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    EXPECT_NE(BytesOf(root.ProcessTable()), empty);
}

// The type is fixed before main, so each case is a process of its own.
int TypeSeenByNewProcess() {
    ChildProcess child([] { return Execute({FILE_SYSTEM_TYPE_PROBE}); });
    return child.Wait();
}

TEST(FileSystemType, ImageIs2DirectoryIs1AnythingElseIs0) {
    TestRoot const root;
    EXPECT_EQ(TypeSeenByNewProcess(), 0);
    root.MakePool(1);
    EXPECT_EQ(TypeSeenByNewProcess(), 2);
    std::filesystem::remove(root.Pool());
    std::filesystem::create_directory(root.Pool());
    EXPECT_EQ(TypeSeenByNewProcess(), 1);
    std::filesystem::remove(root.Pool());
    std::filesystem::create_symlink("/dev/null", root.Pool());
    EXPECT_EQ(TypeSeenByNewProcess(), 0);
}

} // namespace
} // namespace workstation::pool

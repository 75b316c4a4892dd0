// d2b create: new pools, and what is in the way of one.
#include "d2b/CreateCommand.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "StreamFileAccess.h"
#include "pool/ProcessTable.h"
#include "pool/RootLock.h"
#include "support/FailureOf.h"
#include "support/FileSizeLimit.h"
#include "support/Files.h"
#include "support/SyncCalls.h"
#include "support/TestRoot.h"

namespace workstation::d2b {
namespace {

// The reason of a failure; empty on success.
std::string Create(CreateOptions const& options) {
    return FailureOf([&] { CreatePool(options); });
}

// -1 for a directory.
int FileCount(TestRoot const& root) {
    return std::filesystem::is_directory(root.Pool())
               ? -1
               : pool::PoolImage::Open(root.Pool())->FileCount();
}

std::vector<std::string> Contents(std::string const& directory) {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(directory)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

TEST(Create, MakesAnImageOfEmptyFiles) {
    TestRoot const root;
    for (std::uint32_t const count : {0U, 1U, 300U, pool::poolMaxFileCount}) {
        EXPECT_EQ(Create({count, false, true}), "");
        EXPECT_EQ(FileCount(root), static_cast<int>(count));
        EXPECT_EQ(Contents(root.Path()), std::vector<std::string>{"pool"});
    }
}

TEST(Create, MakesTheRootWithItsParents) {
    TestRoot const root;
    std::string const deep = root.Path() + "/a/b/c";
    setenv("STREAMMGR_ROOT", deep.c_str(), 1);
    EXPECT_EQ(Create({1, false, false}), "");
    struct stat status {};
    ASSERT_EQ(stat(deep.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
    ASSERT_EQ(stat((deep + "/pool").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

// The image, then its name.
TEST(Create, PoolIsDurable) {
    TestRoot const root;
    SyncCalls const calls;
    EXPECT_EQ(Create({1, false, false}), "");
    EXPECT_EQ(calls.Names(), (std::vector<std::string>{"fsync", "fsync"}));
}

// The names of three directories, the image, then its name.
TEST(Create, NamesOfNewDirectoriesAreDurable) {
    TestRoot const root;
    setenv("STREAMMGR_ROOT", (root.Path() + "/a/b/c").c_str(), 1);
    SyncCalls const calls;
    EXPECT_EQ(Create({1, false, false}), "");
    EXPECT_EQ(calls.Names(), std::vector<std::string>(3 + 2, "fsync"));
}

TEST(Create, SpaceIsTakenAtOnceOnlyOnRequest) {
    TestRoot const root;
    for (bool const isAllocated : {false, true}) {
        EXPECT_EQ(Create({1, false, true, isAllocated}), "");
        struct stat status {};
        ASSERT_EQ(stat(root.Pool().c_str(), &status), 0);
        EXPECT_EQ(status.st_size, static_cast<off_t>(pool::PoolImageSize(1)));
        EXPECT_EQ(status.st_blocks * 512 >= status.st_size, isAllocated);
        EXPECT_EQ(pool::PoolImage::Open(root.Pool())->Get(1, pool::EntryWord::length), 0U);
    }
}

TEST(Create, AllocatedPoolIsDurable) {
    TestRoot const root;
    SyncCalls const calls;
    EXPECT_EQ(Create({1, false, false, true}), "");
    EXPECT_EQ(calls.Names(), (std::vector<std::string>{"fsync", "fsync"}));
}

TEST(Create, SpaceThatIsMissingLeavesThePoolThatWasThere) {
    TestRoot const root;
    ASSERT_EQ(Create({1, false, false}), "");
    FileSizeLimit const limit(pool::poolSlotSize);
    EXPECT_EQ(Create({2, false, true, true}),
              "cannot allocate 197140480 bytes for '" + root.Pool() + ".new': File too large");
    EXPECT_EQ(FileCount(root), 1);
    EXPECT_EQ(Contents(root.Path()), std::vector<std::string>{"pool"});
}

TEST(Create, FailureLeavesNoneOfTheDirectoriesThatItMade) {
    TestRoot const root;
    setenv("STREAMMGR_ROOT", (root.Path() + "/a/b/c").c_str(), 1);
    FileSizeLimit const limit(pool::poolSlotSize);
    EXPECT_EQ(Create({2, false, false, true}), "cannot allocate 197140480 bytes for '" +
                                                   root.Path() +
                                                   "/a/b/c/pool.new': File too large");
    EXPECT_TRUE(Contents(root.Path()).empty());
}

TEST(Create, DiskThatFailsLeavesNoPool) {
    TestRoot const root;
    SyncCalls const calls("fsync", EIO);
    EXPECT_EQ(Create({1, false, false}),
              "cannot write '" + root.Pool() + ".new': Input/output error");
    EXPECT_TRUE(Contents(root.Path()).empty());
}

TEST(Create, WhatAnInterruptedCreateLeftIsReplaced) {
    TestRoot const root;
    std::ofstream(root.Pool() + ".new") << "half an image";
    EXPECT_EQ(Create({2, false, false}), "");
    EXPECT_EQ(FileCount(root), 2);
    EXPECT_EQ(Contents(root.Path()), std::vector<std::string>{"pool"});
}

TEST(Create, DirectoryPoolIsForTheOwnerOnly) {
    TestRoot const root;
    mode_t const former = umask(0);
    EXPECT_EQ(Create({1, true, false}), "");
    umask(former);
    struct stat status {};
    ASSERT_EQ(stat(root.Pool().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST(Create, RootThatCannotBeMadeIsSaid) {
    TestRoot const root;
    std::ofstream(root.Path() + "/file") << "x";
    std::string const inFile = root.Path() + "/file/root";
    setenv("STREAMMGR_ROOT", inFile.c_str(), 1);
    EXPECT_EQ(Create({1, false, false}), "cannot create '" + inFile + "': Not a directory");
    setenv("STREAMMGR_ROOT", (root.Path() + "/file").c_str(), 1);
    EXPECT_EQ(Create({1, false, false}), "cannot open '" + root.Path() + "/file': Not a directory");
}

TEST(Create, ExistingPoolIsKeptWithoutForce) {
    TestRoot const root;
    std::string const refusal = "pool '" + root.Pool() + "' exists already (--force replaces it)";
    ASSERT_EQ(Create({1, false, false}), "");
    EXPECT_EQ(Create({2, false, false}), refusal);
    EXPECT_EQ(Create({2, true, false}), refusal);
    EXPECT_EQ(FileCount(root), 1);
    ASSERT_EQ(Create({1, true, true}), "");
    EXPECT_EQ(Create({2, false, false}), refusal);
    EXPECT_EQ(Create({2, true, false}), refusal);
    EXPECT_TRUE(std::filesystem::is_directory(root.Pool()));
    std::filesystem::remove(root.Pool());
    std::filesystem::create_symlink("/nowhere", root.Pool());
    EXPECT_EQ(Create({2, false, false}), refusal);
}

TEST(Create, ForceReplacesEitherKindByEither) {
    TestRoot const root;
    for (bool const oldIsExt4 : {false, true}) {
        for (bool const newIsExt4 : {false, true}) {
            ASSERT_EQ(Create({1, oldIsExt4, true}), "");
            EXPECT_EQ(Create({2, newIsExt4, true}), "");
            EXPECT_EQ(std::filesystem::is_directory(root.Pool()), newIsExt4);
            EXPECT_EQ(FileCount(root), newIsExt4 ? -1 : 2);
            EXPECT_EQ(Contents(root.Path()), std::vector<std::string>{"pool"});
        }
    }
}

TEST(Create, DirectoryWithFilesIsNeverReplaced) {
    TestRoot const root;
    ASSERT_EQ(Create({1, true, false}), "");
    std::ofstream(root.Pool() + "/1.ts") << "precious";
    for (bool const isExt4 : {false, true}) {
        EXPECT_EQ(Create({1, isExt4, true}),
                  "cannot replace '" + root.Pool() + "': Directory not empty");
        EXPECT_EQ(BytesOf(root.Pool() + "/1.ts"), "precious");
        EXPECT_EQ(Contents(root.Path()), std::vector<std::string>{"pool"});
    }
}

TEST(Create, ReplacedImageStaysForThoseWhoHaveItOpen) {
    TestRoot const root;
    ASSERT_EQ(Create({2, false, false}), "");
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    StreamFileAccess writer(2, false, StreamMgrFileMgmnt::ControlStream1);
    unsigned char bytes[] = {'d', 'a', 't', 'a'};
    ASSERT_EQ(writer.Write(bytes, 4), 4);
    ASSERT_EQ(writer.Truncate(4), 0);
    ASSERT_EQ(Create({1, false, true}), "");
    ASSERT_EQ(writer.Seek(0), 0);
    unsigned char buffer[10] = {};
    EXPECT_EQ(writer.Read(buffer, 10, false), 4);
    EXPECT_EQ(buffer[0], 'd');
    EXPECT_EQ(FileCount(root), 1);
}

TEST(Create, RootInUseIsLeftAlone) {
    TestRoot const root;
    FileDescriptor owner = pool::LockRoot();
    ASSERT_TRUE(owner);
    EXPECT_EQ(Create({1, false, true}),
              "'" + root.Path() + "' is in use by a running stream manager");
    EXPECT_TRUE(Contents(root.Path()).empty());
    owner.Reset();
    EXPECT_EQ(Create({1, false, true}), "");
}

} // namespace
} // namespace workstation::d2b

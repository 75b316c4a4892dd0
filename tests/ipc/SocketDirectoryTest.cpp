// Cases for the directory of the sockets.
#include "ipc/SocketDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "ipc/RawSocket.h"
#include "support/ChildProcess.h"
#include "support/TemporaryRoot.h"

using namespace workstation;
using namespace workstation::ipc;

namespace {

// A socket file whose process is gone.
void LeaveStaleSocket(std::filesystem::path const& path) {
    RawSocket const gone(path);
}

} // namespace

TEST(EndpointNameTest, NamesThatAreFileNamesAreGood) {
    EXPECT_TRUE(IsEndpointName("StreamMgr"));
    EXPECT_TRUE(IsEndpointName("StreamMgrCli_4194304"));
    EXPECT_TRUE(IsEndpointName("a b"));
    EXPECT_TRUE(IsEndpointName(std::string(64, 'x')));
}

TEST(EndpointNameTest, NamesThatLeaveTheDirectoryOrAreTooLongAreNot) {
    for (std::string const& name :
         {std::string(), std::string("."), std::string(".."), std::string(".hidden"),
          std::string("a/b"), std::string("/tmp/x"), std::string("../x"), std::string("a\0b", 3),
          std::string(65, 'x')}) {
        EXPECT_FALSE(IsEndpointName(name)) << name;
    }
}

TEST(SocketDirectoryTest, OnlyTheLastComponentIsMade) {
    TemporaryRoot const root;
    std::string error;
    ASSERT_TRUE(SocketDirectory::Open(error)) << error;
    struct stat status {};
    ASSERT_EQ(stat(root.Ipc().c_str(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST(SocketDirectoryTest, MissingRootIsAnError) {
    TemporaryRoot const root;
    std::filesystem::remove(root.Path());
    std::string error;
    EXPECT_FALSE(SocketDirectory::Open(error));
    EXPECT_EQ(error, "cannot make " + root.Ipc().string() + ": No such file or directory");
}

TEST(SocketDirectoryTest, FileInPlaceOfTheDirectoryIsAnError) {
    TemporaryRoot const root;
    std::ofstream(root.Ipc()) << "in the way";
    std::string error;
    EXPECT_FALSE(SocketDirectory::Open(error));
    EXPECT_EQ(error, "cannot open " + root.Ipc().string() + ": Not a directory");
}

TEST(SocketDirectoryTest, LiveSocketHasAnIdentityOfItsOwn) {
    TemporaryRoot const root;
    std::string error;
    auto const directory = SocketDirectory::Open(error);
    ASSERT_TRUE(directory);
    RawSocket const first(root.Ipc() / "First");
    RawSocket const second(root.Ipc() / "Second");
    EXPECT_TRUE(directory->Served("First"));
    EXPECT_EQ(directory->Served("First"), directory->Served("First"));
    EXPECT_NE(directory->Served("First"), directory->Served("Second"));
}

TEST(SocketDirectoryTest, WhatIsNoLiveSocketIsNotServed) {
    TemporaryRoot const root;
    std::string error;
    auto const directory = SocketDirectory::Open(error);
    ASSERT_TRUE(directory);
    LeaveStaleSocket(root.Ipc() / "Stale");
    RawSocket const live(root.Path() / "Live");
    std::filesystem::create_symlink("../Live", root.Ipc() / "Link");
    std::ofstream(root.Ipc() / "File") << "no socket";
    for (char const* const name : {"Stale", "Link", "File", "Missing", "../Live", ""}) {
        EXPECT_FALSE(directory->Served(name)) << name;
    }
}

TEST(SocketDirectoryTest, OnlyStaleSocketsAreRemoved) {
    TemporaryRoot const root;
    std::string error;
    ASSERT_TRUE(SocketDirectory::Open(error));
    LeaveStaleSocket(root.Ipc() / "Stale");
    LeaveStaleSocket(root.Ipc() / "StaleToo");
    RawSocket const live(root.Ipc() / "Live");
    std::ofstream(root.Ipc() / "File") << "no socket";
    std::filesystem::create_directory(root.Ipc() / "Directory");

    RemoveStaleSockets();

    EXPECT_FALSE(std::filesystem::exists(root.Ipc() / "Stale"));
    EXPECT_FALSE(std::filesystem::exists(root.Ipc() / "StaleToo"));
    EXPECT_TRUE(std::filesystem::exists(root.Ipc() / "Live"));
    EXPECT_TRUE(std::filesystem::exists(root.Ipc() / "File"));
    EXPECT_TRUE(std::filesystem::exists(root.Ipc() / "Directory"));
}

TEST(SocketDirectoryTest, WithoutADirectoryNoStaleSocketIsSought) {
    TemporaryRoot const root;
    std::filesystem::remove(root.Path());
    RemoveStaleSockets();
    EXPECT_FALSE(std::filesystem::exists(root.Path()));
}

TEST(SocketDirectoryTest, LockIsHeldByOneAtATime) {
    TemporaryRoot const root;
    std::string error;
    auto const first = SocketDirectory::Open(error);
    auto const second = SocketDirectory::Open(error);
    ASSERT_TRUE(first && second);
    {
        DirectoryLock const lock(*first);
        EXPECT_TRUE(lock);
        EXPECT_FALSE(DirectoryLock(*second));
    }
    EXPECT_TRUE(DirectoryLock(*second));
}

TEST(SocketDirectoryTest, LockOfAKilledProcessIsFree) {
    TemporaryRoot const root;
    Event locked;
    ChildProcess child([&] {
        std::string childError;
        auto const own = SocketDirectory::Open(childError);
        DirectoryLock const lock(*own);
        locked.Signal();
        pause();
        return 0;
    });
    ASSERT_TRUE(locked.Wait());
    child.Kill();
    std::string error;
    auto const directory = SocketDirectory::Open(error);
    ASSERT_TRUE(directory);
    EXPECT_TRUE(DirectoryLock(*directory));
}

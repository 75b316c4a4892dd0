// Cases for the directory of the sockets.
#include "ipc/SocketDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "Failure.h"
#include "ipc/RawSocket.h"
#include "support/ChildProcess.h"
#include "support/TemporaryRoot.h"

using namespace workstation;
using namespace workstation::ipc;

namespace {

// Why the directory cannot be opened.
std::string WhyNot() {
    try {
        SocketDirectory::Open();
        return "opened";
    } catch (Failure const& failure) {
        return failure.what();
    }
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
    SocketDirectory::Open();
    struct stat status {};
    ASSERT_EQ(stat(root.Ipc().c_str(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST(SocketDirectoryTest, MissingRootIsAnError) {
    TemporaryRoot const root;
    std::filesystem::remove(root.Path());
    EXPECT_EQ(WhyNot(), "cannot make " + root.Ipc().string() + ": No such file or directory");
}

TEST(SocketDirectoryTest, FileInPlaceOfTheDirectoryIsAnError) {
    TemporaryRoot const root;
    std::ofstream(root.Ipc()) << "in the way";
    EXPECT_EQ(WhyNot(), "cannot open " + root.Ipc().string() + ": Not a directory");
}

TEST(SocketDirectoryTest, LiveSocketHasAnIdentityOfItsOwn) {
    TemporaryRoot const root;
    SocketDirectory const directory = SocketDirectory::Open();
    RawSocket const first(root.Ipc() / "First");
    RawSocket const second(root.Ipc() / "Second");
    EXPECT_TRUE(directory.Served("First"));
    EXPECT_EQ(directory.Served("First"), directory.Served("First"));
    EXPECT_NE(directory.Served("First"), directory.Served("Second"));
}

TEST(SocketDirectoryTest, WhatIsNoLiveSocketIsNotServed) {
    TemporaryRoot const root;
    SocketDirectory const directory = SocketDirectory::Open();
    { RawSocket const ended(root.Ipc() / "Stale"); }
    RawSocket const live(root.Path() / "Live");
    std::filesystem::create_symlink("../Live", root.Ipc() / "Link");
    std::ofstream(root.Ipc() / "File") << "no socket";
    for (char const* const name : {"Stale", "Link", "File", "Missing", "../Live", ""}) {
        EXPECT_FALSE(directory.Served(name)) << name;
    }
}

TEST(SocketDirectoryTest, LockIsHeldByOneAtATime) {
    TemporaryRoot const root;
    SocketDirectory const first = SocketDirectory::Open();
    SocketDirectory const second = SocketDirectory::Open();
    {
        DirectoryLock const lock(first);
        EXPECT_TRUE(lock);
        EXPECT_FALSE(DirectoryLock(second));
    }
    EXPECT_TRUE(DirectoryLock(second));
}

TEST(SocketDirectoryTest, LockOfAKilledProcessIsFree) {
    TemporaryRoot const root;
    Event locked;
    ChildProcess child([&] {
        SocketDirectory const own = SocketDirectory::Open();
        DirectoryLock const lock(own);
        locked.Signal();
        pause();
        return 0;
    });
    ASSERT_TRUE(locked.Wait());
    child.Kill();
    SocketDirectory const directory = SocketDirectory::Open();
    EXPECT_TRUE(DirectoryLock(directory));
}

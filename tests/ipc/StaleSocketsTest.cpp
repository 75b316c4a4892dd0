// Cases for the removal of stale sockets.
#include "ipc/StaleSockets.h"

#include <gtest/gtest.h>

#include <fstream>

#include "ipc/RawSocket.h"
#include "support/TemporaryRoot.h"

using namespace workstation::ipc;

TEST(StaleSocketsTest, OnlyStaleSocketsAreRemoved) {
    TemporaryRoot const root;
    SocketDirectory::Open();
    { RawSocket const ended(root.Ipc() / "Stale"); }
    { RawSocket const ended(root.Ipc() / "StaleToo"); }
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

TEST(StaleSocketsTest, WithoutADirectoryNoStaleSocketIsSought) {
    TemporaryRoot const root;
    std::filesystem::remove(root.Path());
    RemoveStaleSockets();
    EXPECT_FALSE(std::filesystem::exists(root.Path()));
}

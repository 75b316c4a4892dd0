// The scripted platform itself: what it records, and that a wrong use of it fails the test.
#include "FakePlatform.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Errno.h"
#include "IpcMessage.h"
#include "Item.h"
#include "LinxIpc.h"
#include "LogClient.h"
#include "StreamFileAccess.h"
#include "SubscribeClient.h"
#include "SysLogMsg.h"
#include "TsHelper.h"

namespace {

class FakePlatformTest : public ::testing::Test {
protected:
    // Ends the platform, which then reports what was left open and what was never called.
    void End() { platform.reset(); }

    int Create(std::string const& fileName) {
        return open(platform->HardDisk(fileName).c_str(), O_WRONLY | O_CREAT, 0600);
    }

    std::optional<FakePlatform> platform{std::in_place};
    StreamFileAccess pool;
};

// ---------------------------------------------------------------------- the record

TEST_F(FakePlatformTest, CallsAndOutputAreRecordedInOrder) {
    std::cout << "one\n" << std::flush << "two";
    pool.InitializeFileAccess(false, true);
    std::cerr << "three" << std::endl;
    std::cout << "four\n";
    EXPECT_EQ(platform->Recorded().Trace(), "out \"one\\ntwo\"\n"
                                            "pool.InitializeFileAccess(false, true)\n"
                                            "err \"three\\n\"\n"
                                            "out \"four\\n\"\n");
    EXPECT_EQ(platform->Calls(), "pool.InitializeFileAccess(false, true)\n");
    EXPECT_EQ(platform->Out(), "one\ntwofour\n");
    EXPECT_EQ(platform->Err(), "three\n");
    EXPECT_EQ(platform->Recorded().FlushedOut(), "one\n<flush>twofour\n");
}

TEST_F(FakePlatformTest, StandardErrorDoesNotFlushStandardOutput) {
    std::cout << "text";
    std::cerr << "error";
    EXPECT_EQ(platform->Recorded().FlushedOut(), "text");
}

TEST_F(FakePlatformTest, PrintingLeavesAMeaninglessErrno) {
    errno = EIO;
    std::cout << "text";
    EXPECT_EQ(errno, meaninglessErrno);
    errno = EIO;
    std::cerr << "text";
    EXPECT_EQ(errno, meaninglessErrno);
}

// ---------------------------------------------------------------------- scripts

TEST_F(FakePlatformTest, ScriptedAnswerIsThatOfItsCallOnly) {
    platform->AddStreamFiles({1}, 100);
    platform->Script("Read", 2, Fail(EIO));
    platform->Script("Read", 3, {4});
    pool.InitializeFileAccess(false, true);
    StreamFileAccess file(1, 0);
    std::array<char, 50> buffer{};
    EXPECT_EQ(file.Read(buffer.data(), 10, false), 10);
    EXPECT_EQ(std::string(buffer.data(), 10), StreamFileContent(1, 0, 10));
    EXPECT_EQ(errno, meaninglessErrno);
    EXPECT_EQ(file.Read(buffer.data(), 10, false), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(file.Read(buffer.data(), 10, false), 4);
    EXPECT_EQ(std::string(buffer.data(), 4), StreamFileContent(1, 10, 4));
}

TEST_F(FakePlatformTest, ReadEndsAtTheStatedLengthOrAtTheSlot) {
    platform->AddStreamFiles({1}, 100);
    pool.InitializeFileAccess(false, true);
    StreamFileAccess file(1, 0);
    std::array<char, 50> buffer{};
    EXPECT_EQ(file.Seek(90), 90);
    EXPECT_EQ(file.Read(buffer.data(), 50, false), 10);
    EXPECT_EQ(file.Read(buffer.data(), 50, false), 0);
    EXPECT_EQ(file.Read(buffer.data(), 50, true), 50);
    EXPECT_EQ(std::string(buffer.data(), 50), StreamFileContent(1, 100, 50));
    file.Seek(FakePool::slotSize - 1);
    EXPECT_EQ(file.Read(buffer.data(), 50, true), 1);
}

TEST_F(FakePlatformTest, SystemCallsOfTheToolAreScripted) {
    platform->Script("write", 1, {2});
    platform->Script("write", 2, Fail(ENOSPC));
    int const file = Create("file");
    ASSERT_NE(file, -1);
    EXPECT_EQ(write(file, "abcd", 4), 2);
    EXPECT_EQ(write(file, "abcd", 4), -1);
    EXPECT_EQ(errno, ENOSPC);
    struct stat status {};
    EXPECT_EQ(fstat(file, &status), 0);
    EXPECT_EQ(status.st_size, 2);
    EXPECT_EQ(close(file), 0);
    EXPECT_EQ(platform->Calls(), "open(\"file\", O_WRONLY|O_CREAT, 0600)\n"
                                 "write(file, 4)\n"
                                 "write(file, 4)\n"
                                 "fstat(file)\n"
                                 "close(file)\n");
}

TEST_F(FakePlatformTest, TruncateThatFailsLeavesTheLength) {
    platform->AddStreamFiles({1}, 100);
    platform->Script("Truncate", 1, Fail(EIO));
    pool.InitializeFileAccess(false, true);
    {
        StreamFileAccess writer(1, false, StreamMgrFileMgmnt::ControlExternalProc);
        EXPECT_EQ(writer.Truncate(7), -1);
        EXPECT_EQ(errno, EIO);
        EXPECT_EQ(platform->pool.files[1].statedLength, 100);
        EXPECT_EQ(writer.Truncate(7), 0);
    }
    EXPECT_EQ(platform->pool.files[1].statedLength, 7);
}

TEST_F(FakePlatformTest, SeekThatFailsLeavesThePosition) {
    platform->AddStreamFiles({1}, 100);
    platform->Script("Seek", 1, Fail(EIO));
    pool.InitializeFileAccess(false, true);
    StreamFileAccess file(1, 0);
    EXPECT_EQ(file.Seek(50), -1);
    char byte = 0;
    EXPECT_EQ(file.Read(&byte, 1, false), 1);
    EXPECT_EQ(std::string(1, byte), StreamFileContent(1, 0, 1));
}

TEST_F(FakePlatformTest, WriteThatFailsWritesNothing) {
    platform->AddStreamFiles({1}, 100);
    platform->Script("Write", 2, {1});
    platform->Script("Write", 3, Fail(ENOSPC));
    pool.InitializeFileAccess(false, true);
    StreamFileAccess file(1, false, StreamMgrFileMgmnt::ControlExternalProc);
    std::string bytes = "abc";
    EXPECT_EQ(file.Write(bytes.data(), 3), 3);
    EXPECT_EQ(file.Write(bytes.data(), 3), 1);
    EXPECT_EQ(file.Write(bytes.data(), 3), -1);
    EXPECT_EQ(platform->pool.files[1].written, "abca");
}

TEST_F(FakePlatformTest, TableEntryCanBeMissing) {
    platform->pool.table[1] = {};
    platform->Script("GetFileInfo", 2, {0});
    pool.InitializeFileAccess(false, true);
    StreamMgrFileMgmnt::FileMgmnt_t info{};
    EXPECT_TRUE(pool.GetFileInfo(1, info));
    EXPECT_FALSE(pool.GetFileInfo(1, info));
}

TEST_F(FakePlatformTest, EndpointThatCannotBeInitialisedStaysUnready) {
    platform->Script("Init", 1, {ENOTCONN});
    LinxIpc ipc("name");
    EXPECT_EQ(ipc.Init(), ENOTCONN);
    IpcMessage message;
    message.Allocate(1, 1, nullptr);
    EXPECT_NE(ipc.Request(platform->serviceName, message, 0, -1, nullptr), 0);
    EXPECT_EQ(ipc.Init(), 0);
    EXPECT_EQ(ipc.Request(platform->serviceName, message, 0, -1, nullptr), 0);
}

TEST_F(FakePlatformTest, ScriptedRequestIsNotDelivered) {
    platform->Script("Request", 1, {ECONNREFUSED});
    LinxIpc ipc("name");
    ipc.Init();
    IpcMessage message;
    message.Allocate(1, 1, nullptr);
    EXPECT_EQ(ipc.Request("name", message, 0, -1, nullptr), ECONNREFUSED);
    EXPECT_NE(ipc.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
}

TEST_F(FakePlatformTest, ScriptedReceiveTakesNoMessage) {
    platform->Script("Receive", 1, {ETIMEDOUT});
    platform->incoming = {{1, "text"}};
    LinxIpc ipc("name");
    ipc.Init();
    EXPECT_EQ(ipc.Receive(-1, 0, LinxIpc::emptyString, nullptr), ETIMEDOUT);
    EXPECT_EQ(ipc.Receive(-1, 0, LinxIpc::emptyString, nullptr), 0);
}

TEST_F(FakePlatformTest, SubscriptionThatFailsRegistersNoHandler) {
    platform->Script("Subscribe", 1, {1});
    platform->incoming = {{2, "text"}};
    LinxIpc ipc("name");
    ipc.Init();
    SubscribeClient client(ipc, platform->serviceName, 5000);
    StringItem everything;
    EXPECT_EQ(client.Subscribe(
                  1, 2, everything, [](LinxIpc*, void*) { ADD_FAILURE() << "called"; }, nullptr),
              1);
    EXPECT_EQ(ipc.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
}

TEST_F(FakePlatformTest, EveryLogEntryIsRecorded) {
    { SysLogMsg const withoutLog; }
    SysLogMsg().Log(1, "name") << "text";
    EXPECT_EQ(platform->Calls(), "SysLogMsg(1, \"name\", \"text\")\n");
}

TEST_F(FakePlatformTest, OtherFilesAreNotRecorded) {
    int const file = open("/dev/null", O_WRONLY);
    EXPECT_EQ(write(file, "abcd", 4), 4);
    EXPECT_EQ(close(file), 0);
    EXPECT_EQ(platform->Calls(), "");
}

TEST_F(FakePlatformTest, RealHardDiskDoesNotExist) {
    EXPECT_EQ(open("/mnt/hd/5.ts", O_WRONLY | O_CREAT, 0600), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FakePlatformTest, HardDiskBelongsToTheTestAndGoesWithIt) {
    std::string directory = platform->HardDisk("");
    directory.pop_back(); // its slash
    EXPECT_STREQ(std::getenv("STREAMMGR_HD"), directory.c_str());
    End();
    EXPECT_NE(access(directory.c_str(), F_OK), 0);
}

TEST_F(FakePlatformTest, NothingIsRecordedAfterTheProcessHasEnded) {
    // Called through a pointer: the compiler takes it that exit itself throws nothing.
    void (*const volatile end)(int) = std::exit;
    EXPECT_THROW(end(3), ProcessExit);
    pool.InitializeFileAccess(false, true);
    EXPECT_EQ(platform->Calls(), "exit(3)\n");
}

// ---------------------------------------------------------------------- breaches

TEST_F(FakePlatformTest, AnswerThatIsNeverUsedIsABreach) {
    platform->Script("Reed", 1, {1});
    EXPECT_NONFATAL_FAILURE(End(), "never called: Reed number 1");
    platform.emplace();
    platform->ScriptAlways("Reed", {1});
    EXPECT_NONFATAL_FAILURE(End(), "never called: Reed");
}

TEST_F(FakePlatformTest, SecondUnloadIsABreach) {
    pool.Unload();
    EXPECT_NONFATAL_FAILURE(pool.Unload(), "a second time");
}

TEST_F(FakePlatformTest, PoolThatWasNotInitialisedCannotBeUsed) {
    StreamMgrFileMgmnt::FileMgmnt_t info{};
    EXPECT_NONFATAL_FAILURE(pool.GetFilePoolSize(), "before it was initialised");
    EXPECT_NONFATAL_FAILURE(pool.GetFileInfo(1, info), "before it was initialised");
    EXPECT_NONFATAL_FAILURE(StreamFileAccess(1, 0), "before the pool was initialised");
    platform->Script("InitializeFileAccess", 1, {0});
    EXPECT_FALSE(pool.InitializeFileAccess(false, true));
    EXPECT_NONFATAL_FAILURE(pool.GetFilePoolSize(), "before it was initialised");
}

TEST_F(FakePlatformTest, FileIsUsedTheWayItWasOpened) {
    platform->AddStreamFiles({1}, 100);
    pool.InitializeFileAccess(false, true);
    StreamFileAccess reader(1, 0);
    StreamFileAccess writer(1, false, StreamMgrFileMgmnt::ControlExternalProc);
    char byte = 'x';
    EXPECT_NONFATAL_FAILURE(reader.Write(&byte, 1), "the other way");
    EXPECT_NONFATAL_FAILURE(reader.Truncate(1), "the other way");
    EXPECT_NONFATAL_FAILURE(writer.Read(&byte, 1, false), "the other way");
}

TEST_F(FakePlatformTest, FileIsOpenedInNoOtherMode) {
    platform->AddStreamFiles({1}, 100);
    pool.InitializeFileAccess(false, true);
    EXPECT_NONFATAL_FAILURE(StreamFileAccess(1, 1), "another mode");
    EXPECT_NONFATAL_FAILURE(StreamFileAccess(1, true, StreamMgrFileMgmnt::ControlExternalProc),
                            "for appending");
}

TEST_F(FakePlatformTest, NegativePositionOrLengthIsABreach) {
    platform->AddStreamFiles({1}, 100);
    pool.InitializeFileAccess(false, true);
    StreamFileAccess reader(1, 0);
    StreamFileAccess writer(1, false, StreamMgrFileMgmnt::ControlExternalProc);
    EXPECT_NONFATAL_FAILURE(reader.Seek(-1), "negative");
    EXPECT_NONFATAL_FAILURE(writer.Truncate(-1), "negative");
    EXPECT_EQ(platform->pool.files[1].statedLength, 100);
}

TEST_F(FakePlatformTest, TablesAreMappedInOneWayOnly) {
    StreamMgrFileMgmnt tables;
    EXPECT_NONFATAL_FAILURE(tables.Initialize(1, false, false), "not in use");
    EXPECT_NONFATAL_FAILURE(tables.Initialize(0, true, false), "not in use");
    EXPECT_NONFATAL_FAILURE(tables.Initialize(0, false, true), "not in use");
}

TEST_F(FakePlatformTest, SearchForTicksWithoutATableIsABreach) {
    std::vector<unsigned char> stream(188);
    TsHelper helper(stream);
    EXPECT_NONFATAL_FAILURE(helper.SystemTick(TsHelper::StreamSystickSystem, 0), "did not script");
}

// Each is then handed over to another platform, under which it can be closed.
TEST_F(FakePlatformTest, DescriptorThatIsLeftOpenIsABreach) {
    int const file = Create("file");
    EXPECT_NONFATAL_FAILURE(End(), "left open: file");
    close(file);
}

TEST_F(FakePlatformTest, StreamFileThatIsLeftOpenIsABreach) {
    platform->AddStreamFiles({1}, 100);
    pool.InitializeFileAccess(false, true);
    auto file = std::make_unique<StreamFileAccess>(1, 0);
    EXPECT_NONFATAL_FAILURE(End(), "stream files left open: 1");
    platform.emplace();
    platform->pool.openFiles = 1;
    file.reset();
}

TEST_F(FakePlatformTest, PipeThatIsLeftOpenIsABreach) {
    std::FILE* const pipe = popen("true", "r");
    EXPECT_NONFATAL_FAILURE(End(), "a pipe was left open");
    platform.emplace();
    platform->pipes.insert(pipe);
    pclose(pipe);
}

TEST_F(FakePlatformTest, UseOfAClosedDescriptorIsABreach) {
    int const file = Create("file");
    EXPECT_EQ(close(file), 0);
    char byte = 'x';
    struct stat status {};
    EXPECT_NONFATAL_FAILURE(EXPECT_EQ(read(file, &byte, 1), -1), "is read that is not open");
    EXPECT_NONFATAL_FAILURE(EXPECT_EQ(write(file, &byte, 1), -1), "is written that is not open");
    EXPECT_NONFATAL_FAILURE(fstat(file, &status), "is examined that is not open");
    EXPECT_NONFATAL_FAILURE(close(file), "is closed that is not open");
}

TEST_F(FakePlatformTest, SecondJoinOfAThreadIsABreach) {
    pthread_t thread{};
    ASSERT_EQ(pthread_create(
                  &thread, nullptr, [](void*) -> void* { return nullptr; }, nullptr),
              0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_NONFATAL_FAILURE(pthread_join(thread, nullptr), "that is not there");
}

TEST_F(FakePlatformTest, ThreadThatIsNotJoinedIsABreach) {
    pthread_t thread{};
    ASSERT_EQ(pthread_create(
                  &thread, nullptr, [](void*) -> void* { return nullptr; }, nullptr),
              0);
    EXPECT_NONFATAL_FAILURE(End(), "not joined: 1");
}

TEST_F(FakePlatformTest, MessageCannotBeOverfilled) {
    IpcMessage message;
    EXPECT_EQ(message.Allocate(1, 2, nullptr), 0);
    EXPECT_NONFATAL_FAILURE(message.Fill("abc", 3), "more filled in");
    EXPECT_EQ(message.Fill("ab", 2), 0);
}

TEST_F(FakePlatformTest, RequestWithoutAPayloadIsABreach) {
    LinxIpc ipc("name");
    IpcMessage message;
    EXPECT_NONFATAL_FAILURE(ipc.Request("server", message, 0, -1, nullptr), "without a payload");
}

TEST_F(FakePlatformTest, WaitThatNothingEndsIsABreach) {
    LinxIpc ipc("name");
    ipc.Init();
    EXPECT_NONFATAL_FAILURE(ipc.Receive(-1, 0, LinxIpc::emptyString, nullptr), "does not come");
    IpcMessage message;
    message.Allocate(1, 1, nullptr);
    EXPECT_NONFATAL_FAILURE(ipc.Request(platform->serviceName, message, 0, -1, &message),
                            "does not come");
}

TEST_F(FakePlatformTest, SubscriptionWithoutAHandlerIsABreach) {
    LinxIpc ipc("name");
    SubscribeClient client(ipc, platform->serviceName, 5000);
    StringItem everything;
    EXPECT_NONFATAL_FAILURE(client.Subscribe(1, 2, everything, nullptr, nullptr),
                            "without a handler");
}

TEST_F(FakePlatformTest, SubscriptionsThatOutliveTheirEndpointAreABreach) {
    auto ipc = std::make_unique<LinxIpc>("name");
    std::optional<SubscribeClient> client(std::in_place, *ipc, platform->serviceName, 5000);
    ipc.reset();
    EXPECT_NONFATAL_FAILURE(client.reset(), "an endpoint that does not exist");
}

TEST_F(FakePlatformTest, LogEntryWhoseLevelIsOffIsABreach) {
    LogClient::Instance()->Level(2);
    EXPECT_NONFATAL_FAILURE(SysLogMsg().Log(1, "name"), "level");
    SysLogMsg().Log(2, "name") << "text";
    EXPECT_EQ(platform->Calls(),
              "SysLogMsg(1, \"name\", \"\")\nSysLogMsg(2, \"name\", \"text\")\n");
}

// ---------------------------------------------------------------------- items

TEST_F(FakePlatformTest, ItemsAreEncodedBigEndian) {
    std::array<unsigned char, 16> bytes{};
    UIntItem number(0x01020304);
    StringItem text("ab");
    BoolItem yes(true);
    EXPECT_EQ(yes.Encode(text.Encode(number.Encode(bytes.data()))), bytes.data() + 11);
    std::array<unsigned char, 16> const expected = {1, 2, 3, 4, 0, 0, 0, 2, 'a', 'b', 1};
    EXPECT_EQ(bytes, expected);
}

TEST_F(FakePlatformTest, DecodingStaysWithinTheMessage) {
    platform->message = std::string("\0\0\0\7abc", 7);
    auto* const begin = reinterpret_cast<unsigned char*>(platform->message.data());
    StringItem text("old");
    EXPECT_EQ(text.Decode(begin), begin + 7);
    EXPECT_EQ(text.Value(), "");
    UIntItem number(5);
    EXPECT_EQ(number.Decode(begin + 5), begin + 7);
    EXPECT_EQ(number.Value(), 0U);
    unsigned char elsewhere[4] = {};
    EXPECT_NONFATAL_FAILURE(number.Decode(elsewhere), "outside the message");
}

} // namespace

// The service's loop: what it wakes up for, and what ends it.
#include "service/Service.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "Item.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "ipc/RawSocket.h"
#include "ipc/ServerThread.h"
#include "service/PoolAndStore.h"
#include "service/recording/TestDirectory.h"
#include "status/ServiceStatusItem.h"

using namespace workstation;
using namespace workstation::service;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;

namespace {

constexpr std::uint32_t startId = 101;
constexpr std::uint32_t stopId = 102;

class ServiceTest : public testing::Test {
protected:
    ~ServiceTest() override {
        if (thread_.joinable()) {
            Quit();
        }
    }

    void Start(ServiceOptions const& options = {}) {
        service_.Record(options);
        thread_ = std::thread([this] { service_.Run(); });
    }

    void Send(std::uint32_t id, std::vector<char> const& payload = {}) {
        EXPECT_TRUE(client_.Send("StreamMgr", id, payload, 9, patienceMs));
    }

    // The id of the next message, waited for.
    std::uint32_t Next() { return ServerThread::Next(client_).id; }

    void ExpectThatItServes() {
        Send(api::getLogLevelRequest);
        EXPECT_EQ(Next(), api::getLogLevelReply);
    }

    void Subscribe(subscribers::Subscription subscription, std::uint32_t messageId) {
        UIntItem number(static_cast<unsigned int>(subscription));
        UIntItem message(messageId);
        Send(api::subscribeRequest, ipc::EncodeItems({&number, &message}));
        EXPECT_EQ(Next(), api::subscribeReply);
    }

    status::ServiceStatus Status() {
        Send(api::statusRequest);
        auto answer = ServerThread::Next(client_);
        status::ServiceStatusItem item;
        EXPECT_EQ(answer.id, api::statusReply);
        EXPECT_TRUE(ipc::DecodeItems(answer.payload, {&item}));
        return item.Value();
    }

    void Quit() {
        Send(api::quitRequest);
        thread_.join();
    }

    std::vector<std::string> Log() const { return parts_.Log(); }

    SignalWatch signals_; // before any thread
    PoolAndStore parts_{2};
    ipc::Endpoint client_ = ipc::Endpoint::Open("Client");
    Service service_{signals_, ipc::Endpoint::Open("StreamMgr"), parts_.Session(), parts_.Store()};
    std::thread thread_;
};

TEST_F(ServiceTest, ServesUntilItIsAskedToQuit) {
    Start();
    ExpectThatItServes();
    ExpectThatItServes();
    Quit();
    EXPECT_THAT(Log(), ElementsAre("log level requested by Client", "log level requested by Client",
                                   "quit requested by Client"));
}

TEST_F(ServiceTest, RequestsAfterAQuitAreNotHandled) {
    Send(api::quitRequest);
    Send(api::getLogLevelRequest);
    service_.Run();
    EXPECT_FALSE(client_.Receive());
    EXPECT_THAT(Log(), ElementsAre("quit requested by Client"));
}

TEST_F(ServiceTest, RequestsBeforeASignalAreHandled) {
    Send(api::getLogLevelRequest);
    kill(getpid(), SIGTERM);
    service_.Run();
    EXPECT_EQ(Next(), api::getLogLevelReply);
    EXPECT_THAT(Log(),
                ElementsAre("log level requested by Client", "told to quit by signal: Terminated"));
}

TEST_F(ServiceTest, SignalWakesTheLoop) {
    Start();
    ExpectThatItServes();
    kill(getpid(), SIGINT);
    thread_.join();
    EXPECT_THAT(Log(), testing::Contains("told to quit by signal: Interrupt"));
}

TEST_F(ServiceTest, OtherSignalsDoNotEndTheWait) {
    struct sigaction action {};
    struct sigaction former {};
    action.sa_handler = [](int) {}; // without SA_RESTART: poll ends with EINTR
    sigaction(SIGUSR1, &action, &former);
    Start();
    for (int times = 0; times < 100; ++times) {
        pthread_kill(thread_.native_handle(), SIGUSR1);
        ExpectThatItServes();
    }
    Quit();
    sigaction(SIGUSR1, &former, nullptr);
}

TEST_F(ServiceTest, WhatIsNoMessageIsPassedOver) {
    std::filesystem::path const ipc = RootDirectory() + "/ipc";
    RawSocket const stranger(ipc / "Stranger");
    Start();
    for (std::string const& datagram :
         {std::string(), std::string("x"), std::string(16, '\0'), std::string(70000, '\xFF')}) {
        EXPECT_TRUE(stranger.Send(ipc / "StreamMgr", datagram));
        ExpectThatItServes();
    }
}

TEST_F(ServiceTest, NoiseIsLoggedOnceASecondAndCounted) {
    std::filesystem::path const ipc = RootDirectory() + "/ipc";
    RawSocket const stranger(ipc / "Stranger");
    Start();
    for (int times = 0; times < 5; ++times) {
        EXPECT_TRUE(stranger.Send(ipc / "StreamMgr", "noise"));
        ExpectThatItServes();
    }
    std::string const line = "a datagram that is no message is dropped";
    parts_.AwaitLog(line + ", 4 times more");
    EXPECT_THAT(Log(), testing::Contains(line).Times(1));
}

TEST_F(ServiceTest, FloodDoesNotKeepASignal) {
    std::filesystem::path const ipc = RootDirectory() + "/ipc";
    RawSocket const stranger(ipc / "Stranger");
    Start();
    std::jthread const flood([&](std::stop_token const& stop) {
        while (!stop.stop_requested() && stranger.Send(ipc / "StreamMgr", "noise")) {
        }
    });
    ExpectThatItServes();
    kill(getpid(), SIGTERM);
    thread_.join();
    EXPECT_THAT(Log(), testing::Contains("told to quit by signal: Terminated"));
}

TEST_F(ServiceTest, HangUpWithoutAConfigurationEndsNothing) {
    Start();
    ExpectThatItServes();
    kill(getpid(), SIGHUP);
    parts_.AwaitLog("there is no configuration file to read again");
    ExpectThatItServes();
}

TEST_F(ServiceTest, FailureOfTheDatabaseEndsNothing) {
    Start();
    Subscribe(subscribers::Subscription::storage, 100);
    EXPECT_EQ(Next(), 100U);
    store::Database(DatabasePath(), store::Database::Mode::existing)
        .Execute("DROP TABLE event_file");
    parts_.AwaitLog("cannot tell of the storage");
    Send(api::storageDumpRequest);
    parts_.AwaitLog("storage dump failed: ");
    EXPECT_THAT(Status().problem, HasSubstr("the event database cannot be read: "));
    EXPECT_EQ(Status().storage, (status::StorageStatus{192512, 0, 192512}));
    ExpectThatItServes();
}

TEST_F(ServiceTest, StatusHasTheServiceTheStorageAndTheSubscribers) {
    parts_.Load(1, std::vector<unsigned char>(188));
    Start();
    Subscribe(subscribers::Subscription::recordStart, startId);
    Subscribe(subscribers::Subscription::recordStop, stopId);
    {
        ipc::Endpoint other = ipc::Endpoint::Open("Other");
        UIntItem number(static_cast<unsigned int>(subscribers::Subscription::recordStop));
        UIntItem message(stopId);
        EXPECT_TRUE(other.Send("StreamMgr", api::subscribeRequest,
                               ipc::EncodeItems({&number, &message}), 9, patienceMs));
        EXPECT_EQ(ServerThread::Next(other).id, api::subscribeReply);
        EXPECT_EQ(Status().subscribers, 2U);
    }
    auto const status = Status();
    EXPECT_EQ(status.process, static_cast<std::uint32_t>(getpid()));
    EXPECT_LT(status.upSeconds, 120U);
    EXPECT_EQ(status.streams, std::vector<status::StreamStatus>());
    EXPECT_EQ(status.storage, (status::StorageStatus{192512, 96256, 96256}));
    EXPECT_EQ(status.subscribers, 1U) << "the process of the other one has ended";
    EXPECT_EQ(status.problem, "");
}

// Standard input is recorded into stream 2: a pipe, once a process writes into it.
class RecordingServiceTest : public ServiceTest {
protected:
    RecordingServiceTest() {
        Start({{2, "-"}});
        Subscribe(subscribers::Subscription::recordStart, startId);
        Subscribe(subscribers::Subscription::recordStop, stopId);
    }

    static void WritePackets(std::ofstream& pipe) {
        std::string packet(188, '\x55');
        packet.replace(0, 4, std::string("\x47\x01\x00\x10", 4));
        for (int count = 0; count < 2000; ++count) {
            pipe << packet;
        }
        pipe.flush();
    }

    static FileDescriptor MakePipe(std::string const& path) {
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return FileDescriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    }

    std::string const pipe_ = RootDirectory() + "/pipe";
    recording_test::StandardInput const input_{MakePipe(pipe_)};
};

TEST_F(RecordingServiceTest, SubscribersAreNotifiedOfStartAndStop) {
    {
        std::ofstream pipe(pipe_);
        WritePackets(pipe);
        EXPECT_EQ(Next(), startId);
        ASSERT_EQ(Status().streams.size(), 1U);
        EXPECT_EQ(Status().streams[0].state, status::StreamStatus::State::recording);
    }
    EXPECT_EQ(Next(), stopId);
    auto const chain = parts_.Store().Chain(2, true);
    ASSERT_EQ(chain.size(), 1U);
    EXPECT_TRUE(chain[0].finished);
    while (Status().streams[0].state != status::StreamStatus::State::ended) {
        std::this_thread::yield(); // the test's time limit ends this
    }
    Send(api::infoRequest);
    parts_.AwaitLog("0 recordings, 2 subscriptions");
    parts_.AwaitLog("stream 2: source standard input, state ended, ");
}

TEST_F(RecordingServiceTest, SubscriberWithoutRoomIsNotifiedWhenItReads) {
    constexpr std::uint32_t fillId = 7;
    ipc::Endpoint other = ipc::Endpoint::Open("Other");
    while (other.Send("Client", fillId, {}, 0, 0)) {
    }
    std::ofstream pipe(pipe_);
    WritePackets(pipe);
    parts_.AwaitLog(" started");
    for (int times = 0; times < 2; ++times) { // the loop goes round, and the notification waits
        EXPECT_TRUE(other.Send("StreamMgr", api::getLogLevelRequest, {}, 9, patienceMs));
        EXPECT_EQ(ServerThread::Next(other).id, api::getLogLevelReply);
    }
    std::uint32_t id = fillId;
    while (id == fillId) {
        id = Next();
    }
    EXPECT_EQ(id, startId);
}

TEST_F(RecordingServiceTest, EndOfTheServiceEndsTheRecordingAndNotifies) {
    std::ofstream pipe(pipe_);
    WritePackets(pipe);
    EXPECT_EQ(Next(), startId);
    Quit();
    EXPECT_EQ(Next(), stopId);
    EXPECT_TRUE(parts_.Store().Chain(2, true).at(0).finished);
    EXPECT_EQ(parts_.Controller(1), StreamMgrFileMgmnt::ControlUnknown);
}

TEST_F(RecordingServiceTest, ThatNeverBeginsEndsWithTheService) {
    Quit();
    EXPECT_FALSE(client_.Receive());
}

} // namespace

// Cases for the named socket.
#include "ipc/Endpoint.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <fstream>
#include <memory>
#include <set>

#include "Failure.h"
#include "IpcMessage.h"
#include "ipc/MessageHeader.h"
#include "ipc/RawSocket.h"
#include "support/ChildProcess.h"
#include "support/FailureOf.h"
#include "support/OtherUser.h"
#include "support/Stopwatch.h"
#include "support/TemporaryRoot.h"

using namespace workstation;
using namespace workstation::ipc;

namespace {

// Empty, with the reason in `error`, when the name cannot be taken.
std::optional<Endpoint> TryOpen(std::string const& name, std::string& error) {
    try {
        return Endpoint::Open(name);
    } catch (Failure const& failure) {
        error = failure.what();
        return std::nullopt;
    }
}

std::string WhyNot(std::string const& name) {
    std::string error = "opened";
    TryOpen(name, error);
    return error;
}

// The errno that a message to `to` fails with; 0 when it was sent.
int SendError(Endpoint const& sender, std::string const& to, std::string const& payload = "",
              int roomTimeoutMs = 0) {
    try {
        return sender.Send(to, 1, payload, 0, roomTimeoutMs) ? 0 : EAGAIN;
    } catch (Failure const& failure) {
        return failure.Error();
    }
}

std::string Text(Letter const& letter) {
    return {letter.payload.begin(), letter.payload.end()};
}

std::string Datagram(std::uint32_t id, std::uint32_t correlation, std::string const& payload) {
    auto const header = EncodeHeader({id, correlation, static_cast<std::uint32_t>(payload.size())});
    return std::string(header.begin(), header.end()) + payload;
}

std::set<int> Descriptors() {
    std::set<int> descriptors;
    for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        descriptors.insert(std::stoi(entry.path().filename()));
    }
    // That of the listing is closed again.
    std::erase_if(descriptors, [](int descriptor) { return fcntl(descriptor, F_GETFD) == -1; });
    return descriptors;
}

int OpenDescriptors() {
    return static_cast<int>(Descriptors().size());
}

// Sends to `to` until its queue is full.
void FillQueue(Endpoint const& sender, std::string const& to) {
    while (sender.Send(to, 1, {}, 0, 0)) {
    }
}

} // namespace

class EndpointTest : public testing::Test {
protected:
    TemporaryRoot const root_;
};

TEST_F(EndpointTest, SentMessageHasTheseBytes) {
    Endpoint const sender = Endpoint::Open("Sender");
    RawSocket const peer(root_.Ipc() / "Peer");
    ASSERT_TRUE(sender.Send("Peer", 0x360E, std::string("reap\0", 5), 0xA1B2C3D4, 0));
    EXPECT_EQ(peer.Receive(), std::string("LNX1"
                                          "\0\0\x36\x0E"
                                          "\xA1\xB2\xC3\xD4"
                                          "\0\0\0\x05"
                                          "reap\0",
                                          21));
}

TEST_F(EndpointTest, ReceivedMessageSaysWhoSentIt) {
    Endpoint receiver = Endpoint::Open("Receiver");
    Endpoint const sender = Endpoint::Open("Sender");
    ASSERT_TRUE(sender.Send("Receiver", 0x3603, std::string("ping"), 77, 0));
    auto const letter = receiver.Receive();
    ASSERT_TRUE(letter);
    EXPECT_EQ(letter->sender, "Sender");
    EXPECT_EQ(letter->id, 0x3603U);
    EXPECT_EQ(letter->correlation, 77U);
    EXPECT_EQ(Text(*letter), "ping");
    EXPECT_FALSE(receiver.Receive());
}

TEST_F(EndpointTest, EmptyQueueGivesNothingAtOnce) {
    Endpoint receiver = Endpoint::Open("Receiver");
    EXPECT_FALSE(receiver.Receive());
    EXPECT_FALSE(receiver.Wait(0));
}

TEST_F(EndpointTest, DescriptorIsReadableWhenAMessageHasCome) {
    Endpoint receiver = Endpoint::Open("Receiver");
    pollfd readable{receiver.Descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&readable, 1, 0), 0);
    ASSERT_TRUE(receiver.Send("Receiver", 1, {}, 0, 0));
    EXPECT_EQ(poll(&readable, 1, 0), 1);
    EXPECT_TRUE(receiver.Wait(-1));
}

TEST_F(EndpointTest, MessagesKeepTheirOrder) {
    Endpoint receiver = Endpoint::Open("Receiver");
    for (std::uint32_t id = 1; id <= 5; ++id) {
        ASSERT_TRUE(receiver.Send("Receiver", id, {}, 0, 0));
    }
    for (std::uint32_t id = 1; id <= 5; ++id) {
        auto const letter = receiver.Receive();
        ASSERT_TRUE(letter);
        EXPECT_EQ(letter->id, id);
    }
}

TEST_F(EndpointTest, LargestMessageArrivesAndOneByteMoreIsRefused) {
    Endpoint receiver = Endpoint::Open("Receiver");
    std::string largest(IpcMessage::maxSize, 'x');
    largest.front() = 'a';
    largest.back() = 'z';
    ASSERT_TRUE(receiver.Send("Receiver", 1, largest, 0, 0));
    auto const letter = receiver.Receive();
    ASSERT_TRUE(letter);
    EXPECT_EQ(Text(*letter), largest);
    EXPECT_EQ(SendError(receiver, "Receiver", largest + 'x'), EMSGSIZE);
    EXPECT_FALSE(receiver.Receive());
}

TEST_F(EndpointTest, MalformedDatagramsAreDropped) {
    Endpoint receiver = Endpoint::Open("Receiver");
    RawSocket const peer(root_.Ipc() / "Peer");
    std::string const good = Datagram(5, 0, "good");
    std::string wrongMagic = good;
    wrongMagic[0] = 'l';
    std::string littleEndianSize = good;
    littleEndianSize.replace(12, 4, std::string("\x04\0\0\0", 4));
    for (std::string const& malformed : {
             std::string(),
             std::string("L"),
             good.substr(0, 15),
             good.substr(0, 16),
             good.substr(0, 19),
             good + '\0',
             wrongMagic,
             littleEndianSize,
             Datagram(5, 0, std::string(IpcMessage::maxSize + 1, 'x')), // cut off on receipt
             Datagram(5, 0, std::string(IpcMessage::maxSize, 'x')) + 'x',
         }) {
        ASSERT_TRUE(peer.Send(root_.Ipc() / "Receiver", malformed));
        ASSERT_TRUE(peer.Send(root_.Ipc() / "Receiver", good));
        auto const letter = receiver.Receive();
        ASSERT_TRUE(letter);
        EXPECT_EQ(letter->sender, "Peer");
        EXPECT_EQ(Text(*letter), "good");
        EXPECT_FALSE(receiver.Receive());
    }
}

TEST_F(EndpointTest, SenderWithoutAUsableNameIsDropped) {
    Endpoint receiver = Endpoint::Open("Receiver");
    RawSocket const unbound("");
    ASSERT_TRUE(unbound.Send(root_.Ipc() / "Receiver", Datagram(1, 0, "")));
    EXPECT_FALSE(receiver.Receive());
    RawSocket const hidden(root_.Ipc() / ".hidden");
    ASSERT_TRUE(hidden.Send(root_.Ipc() / "Receiver", Datagram(1, 0, "")));
    EXPECT_FALSE(receiver.Receive());
}

TEST_F(EndpointTest, DescriptorsThatComeAlongAreNotTaken) {
    Endpoint receiver = Endpoint::Open("Receiver");
    RawSocket const peer(root_.Ipc() / "Peer");
    std::string bytes = Datagram(1, 0, "with a descriptor");
    int const passed = STDERR_FILENO;
    iovec part{bytes.data(), bytes.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof passed)> control{};
    sockaddr_un address = RawSocket::Address(root_.Ipc() / "Receiver");
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = sizeof address;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const field = CMSG_FIRSTHDR(&message);
    field->cmsg_level = SOL_SOCKET;
    field->cmsg_type = SCM_RIGHTS;
    field->cmsg_len = CMSG_LEN(sizeof passed);
    std::memcpy(CMSG_DATA(field), &passed, sizeof passed);
    ASSERT_GT(sendmsg(peer.Descriptor(), &message, 0), 0);

    int const before = OpenDescriptors();
    auto const letter = receiver.Receive();
    ASSERT_TRUE(letter);
    EXPECT_EQ(Text(*letter), "with a descriptor");
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(EndpointTest, OnlyTheOwnersCredentialsAreAccepted) {
    ucred credentials{getpid(), geteuid(), getegid()};
    EXPECT_TRUE(IsOwner(credentials));
    credentials.uid = geteuid() + 1;
    EXPECT_FALSE(IsOwner(credentials));
    credentials.uid = static_cast<uid_t>(-1);
    EXPECT_FALSE(IsOwner(credentials));
    credentials.uid = geteuid() == 0 ? 65534 : 0;
    EXPECT_FALSE(IsOwner(credentials));
}

// Only root can become another user; for other users there is only the case above.
TEST_F(EndpointTest, MessagesOfAForeignUserAreDropped) {
    Endpoint receiver = Endpoint::Open("Receiver");
    ASSERT_EQ(chmod(root_.Path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(root_.Ipc().c_str(), 0777), 0);
    ASSERT_EQ(chmod((root_.Ipc() / "Receiver").c_str(), 0777), 0);
    ChildProcess foreigner([&] {
        if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) {
            return 1;
        }
        RawSocket const peer(root_.Ipc() / "Foreigner");
        return peer.Send(root_.Ipc() / "Receiver", Datagram(1, 0, "let me in")) ? 0 : 2;
    });
    ASSERT_EQ(foreigner.Wait(), 0);
    ASSERT_TRUE(receiver.Wait(0)) << "the datagram did not even arrive";
    auto const letter = receiver.Receive();
    EXPECT_EQ(letter.has_value(), geteuid() != 0);
}

// A process of another user that holds the name "Foreigner".
class Foreigner : public ChildProcess {
public:
    Foreigner(std::filesystem::path const& ipc, uid_t user)
        : ChildProcess([&](Parent const& parent) {
            if (!BecomeUser(user)) {
                return 1;
            }
            RawSocket const socket(ipc / "Foreigner");
            parent.Tell();
            parent.Await();
            return socket.Receive().empty() ? 0 : 2;
        }) {
        EXPECT_TRUE(Await());
    }
};

// That user's receiver would drop the message, so sending it would only seem to succeed.
TEST_F(EndpointTest, NothingIsSentToAForeignUser) {
    SKIP_UNLESS_ROOT();
    Endpoint const sender = Endpoint::Open("Sender");
    ASSERT_EQ(chmod(root_.Path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(root_.Ipc().c_str(), 0777), 0);
    struct {
        uid_t user;
        char const* name;
    } const cases[] = {{otherUser, "user 'nobody' (uid 65534)"}, {userWithoutName, "uid 59998"}};
    for (auto const& foreign : cases) {
        Foreigner process(root_.Ipc(), foreign.user);
        EXPECT_EQ(SendError(sender, "Foreigner"), EACCES);
        EXPECT_EQ(FailureOf([&] { sender.Send("Foreigner", 1, {}, 0, 0); }),
                  std::string("Foreigner is served by ") + foreign.name +
                      ", not by user 'root' (uid 0): not used");
        process.Tell();
        EXPECT_EQ(process.Wait(), 0) << "it received something";
        EXPECT_EQ(SendError(sender, "Foreigner"), ECONNREFUSED) << "it has ended";
        std::filesystem::remove(root_.Ipc() / "Foreigner");
    }
}

TEST_F(EndpointTest, NothingIsSentToRootByAnotherUser) {
    SKIP_UNLESS_ROOT();
    Endpoint receiver = Endpoint::Open("Receiver");
    ASSERT_EQ(chmod(root_.Path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(root_.Ipc().c_str(), 0777), 0);
    ASSERT_EQ(chmod((root_.Ipc() / "Receiver").c_str(), 0777), 0);
    ChildProcess user([&] {
        return BecomeUser(otherUser) ? SendError(Endpoint::Open("Sender"), "Receiver") : -1;
    });
    EXPECT_EQ(user.Wait(), EACCES);
    EXPECT_FALSE(receiver.Wait(0));
}

TEST_F(EndpointTest, NameThatNoProcessServesIsAnErrorAtOnce) {
    Endpoint const sender = Endpoint::Open("Sender");
    EXPECT_EQ(SendError(sender, "Nobody", "", 2000), ENOENT);
    { RawSocket const gone(root_.Ipc() / "Gone"); }
    EXPECT_EQ(SendError(sender, "Gone", "", 2000), ECONNREFUSED);
}

TEST_F(EndpointTest, NameThatIsNoneIsRefused) {
    Endpoint const sender = Endpoint::Open("Sender");
    for (char const* const name : {"", ".", "..", "../ipc/Sender", "a/b"}) {
        EXPECT_EQ(SendError(sender, name), EINVAL) << name;
        EXPECT_EQ(WhyNot(name), "'" + std::string(name) + "' cannot be the name of an endpoint");
    }
}

TEST_F(EndpointTest, FullQueueIsNotWaitedForWithoutTime) {
    Endpoint receiver = Endpoint::Open("Receiver");
    Endpoint const sender = Endpoint::Open("Sender");
    FillQueue(sender, "Receiver");
    EXPECT_FALSE(sender.Send("Receiver", 1, {}, 0, 0));
    while (receiver.Receive()) {
    }
    EXPECT_TRUE(sender.Send("Receiver", 1, {}, 0, 0));
}

// The kernel counts unread messages against the socket that they were sent from.
TEST_F(EndpointTest, WhatManyLeaveUnreadDoesNotKeepAnotherFromItsMessages) {
    Endpoint sender = Endpoint::Open("Sender");
    Endpoint reader = Endpoint::Open("Reader");
    int const before = OpenDescriptors();
    std::vector<RawSocket> sleepers;
    for (int number = 1; number <= 60; ++number) {
        std::string const name = "Sleeper" + std::to_string(number);
        sleepers.emplace_back(root_.Ipc() / name);
        FillQueue(sender, name);
        ASSERT_TRUE(sender.Send("Reader", 7, {}, 0, 0)) << name;
        auto const letter = reader.Receive();
        ASSERT_TRUE(letter);
        EXPECT_EQ(letter->sender, "Sender");
    }
    EXPECT_LE(OpenDescriptors(), before + 60 + 1);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root_.Ipc()), {}), 60 + 2);

    // No sent message is lost, and answers still arrive at the one name.
    for (RawSocket const& sleeper : sleepers) {
        EXPECT_EQ(sleeper.Receive(), Datagram(1, 0, ""));
    }
    ASSERT_TRUE(reader.Send("Sender", 8, {}, 0, 0));
    EXPECT_TRUE(sender.Receive());
}

TEST_F(EndpointTest, DescriptorsAreClosedInOtherPrograms) {
    auto const before = Descriptors();
    Endpoint const sender = Endpoint::Open("Sender");
    std::vector<RawSocket> sleepers; // enough to fill a send buffer
    for (int number = 1; number <= 60; ++number) {
        std::string const name = "Sleeper" + std::to_string(number);
        sleepers.emplace_back(root_.Ipc() / name);
        FillQueue(sender, name);
    }
    sleepers.clear();
    int opened = 0;
    for (int const descriptor : Descriptors()) {
        if (!before.contains(descriptor)) {
            EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC) << descriptor;
            ++opened;
        }
    }
    EXPECT_EQ(opened, 3) << "the directory, the socket, and the socket that sends";
}

TEST_F(EndpointTest, WhatAKilledProcessLeftDoesNotKeepItsSuccessorFromSending) {
    std::filesystem::create_directories(root_.Ipc() / ".Sender");
    { RawSocket const left(root_.Ipc() / ".Sender" / "Sender"); }
    Endpoint const sender = Endpoint::Open("Sender");
    std::vector<RawSocket> sleepers;
    for (int number = 1; number <= 60; ++number) {
        std::string const name = "Sleeper" + std::to_string(number);
        sleepers.emplace_back(root_.Ipc() / name);
        ASSERT_TRUE(sender.Send(name, 1, {}, 0, 0)) << name;
        FillQueue(sender, name);
    }
    EXPECT_FALSE(std::filesystem::exists(root_.Ipc() / ".Sender"));
}

TEST_F(EndpointTest, FullQueueIsWaitedForInBoundedTime) {
    Endpoint const receiver = Endpoint::Open("Receiver");
    Endpoint const sender = Endpoint::Open("Sender");
    FillQueue(sender, "Receiver");
    Stopwatch const stopwatch;
    EXPECT_FALSE(sender.Send("Receiver", 1, {}, 0, 200));
    EXPECT_GE(stopwatch.ElapsedMs(), 190);
    EXPECT_LT(stopwatch.ElapsedMs(), 10000);
}

TEST_F(EndpointTest, RoomThatComesInTimeIsUsed) {
    Endpoint const sender = Endpoint::Open("Sender");
    Event opened;
    Event full;
    ChildProcess reader([&] {
        Endpoint receiver = Endpoint::Open("Receiver");
        opened.Signal();
        return full.Wait() && receiver.Receive() ? (pause(), 0) : 1;
    });
    ASSERT_TRUE(opened.Wait());
    FillQueue(sender, "Receiver");
    full.Signal();
    EXPECT_TRUE(sender.Send("Receiver", 1, {}, 0, patienceMs));
}

TEST_F(EndpointTest, ReceiverThatDiesWithAFullQueueEndsTheWait) {
    Endpoint const sender = Endpoint::Open("Sender");
    Event opened;
    Event full;
    ChildProcess reader([&] {
        Endpoint const receiver = Endpoint::Open("Receiver");
        opened.Signal();
        full.Wait();
        return raise(SIGKILL);
    });
    ASSERT_TRUE(opened.Wait());
    FillQueue(sender, "Receiver");
    full.Signal();
    EXPECT_EQ(SendError(sender, "Receiver", "", patienceMs), ECONNREFUSED);
}

// Interrupts blocking calls every 3 ms.
class Interruptions {
public:
    Interruptions() {
        struct sigaction action {};
        action.sa_handler = [](int) {}; // without SA_RESTART
        sigaction(SIGALRM, &action, &former_);
        itimerval const often{{0, 3000}, {0, 3000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~Interruptions() {
        itimerval const never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &former_, nullptr);
    }
    Interruptions(Interruptions const&) = delete;
    Interruptions& operator=(Interruptions const&) = delete;

private:
    struct sigaction former_ {};
};

TEST_F(EndpointTest, SignalsNeitherShortenNorProlongAWait) {
    Endpoint const receiver = Endpoint::Open("Receiver");
    Endpoint const sender = Endpoint::Open("Sender");
    Interruptions const interruptions;
    Stopwatch const waiting;
    EXPECT_FALSE(receiver.Wait(150));
    EXPECT_GE(waiting.ElapsedMs(), 150);
    EXPECT_LT(waiting.ElapsedMs(), 10000);
    FillQueue(sender, "Receiver");
    Stopwatch const sending;
    EXPECT_FALSE(sender.Send("Receiver", 1, {}, 0, 150));
    EXPECT_GE(sending.ElapsedMs(), 140);
    EXPECT_LT(sending.ElapsedMs(), 10000);
}

TEST_F(EndpointTest, NameIsServedOnce) {
    auto first = std::make_unique<Endpoint>(Endpoint::Open("StreamMgr"));
    EXPECT_EQ(WhyNot("StreamMgr"), "cannot take the name StreamMgr: Address already in use");
    EXPECT_TRUE(first->Send("StreamMgr", 1, {}, 0, 0)) << "the first one lost its name";
    first.reset();
    EXPECT_EQ(WhyNot("StreamMgr"), "opened");
}

TEST_F(EndpointTest, FileThatIsNoSocketIsLeftAlone) {
    std::filesystem::create_directory(root_.Ipc());
    std::ofstream(root_.Ipc() / "StreamMgr") << "mine";
    EXPECT_EQ(WhyNot("StreamMgr"), "cannot take the name StreamMgr: Address already in use");
    EXPECT_TRUE(std::filesystem::exists(root_.Ipc() / "StreamMgr"));
}

TEST_F(EndpointTest, MissingRootIsAnError) {
    std::filesystem::remove(root_.Path());
    EXPECT_EQ(WhyNot("StreamMgr"),
              "cannot make " + root_.Ipc().string() + ": No such file or directory");
}

TEST_F(EndpointTest, LockThatStaysHeldIsAnErrorInBoundedTime) {
    std::filesystem::create_directory(root_.Ipc());
    { RawSocket const gone(root_.Ipc() / "StreamMgr"); }
    FileDescriptor const other(open(root_.Ipc().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(other.Get(), LOCK_EX), 0);
    Stopwatch const stopwatch;
    EXPECT_EQ(WhyNot("StreamMgr"), "the IPC directory stays locked by another process");
    EXPECT_GE(stopwatch.ElapsedMs(), 1900);
    EXPECT_LT(stopwatch.ElapsedMs(), 10000);
    EXPECT_TRUE(std::filesystem::exists(root_.Ipc() / "StreamMgr")) << "removed without the lock";
}

TEST_F(EndpointTest, EndpointsBeyondTheLimitOfAProcessAreRefused) {
    std::vector<Endpoint> endpoints;
    std::string error;
    for (;;) {
        auto endpoint = TryOpen("E" + std::to_string(endpoints.size()), error);
        if (!endpoint) {
            break;
        }
        endpoints.push_back(std::move(*endpoint));
    }
    EXPECT_EQ(endpoints.size(), 256U);
    EXPECT_EQ(error, "this process has too many endpoints");
    endpoints.pop_back();
    EXPECT_EQ(WhyNot("Another"), "opened");
}

TEST_F(EndpointTest, SocketOfAKilledProcessBlocksNoProcess) {
    Event opened;
    ChildProcess child([&] {
        Endpoint const endpoint = Endpoint::Open("StreamMgr");
        opened.Signal();
        pause();
        return 0;
    });
    ASSERT_TRUE(opened.Wait());
    EXPECT_EQ(WhyNot("StreamMgr"), "cannot take the name StreamMgr: Address already in use");
    child.Kill();
    ASSERT_TRUE(std::filesystem::exists(root_.Ipc() / "StreamMgr"));
    Endpoint endpoint = Endpoint::Open("StreamMgr");
    EXPECT_TRUE(endpoint.Send("StreamMgr", 1, {}, 0, 0));
    auto const letter = endpoint.Receive();
    ASSERT_TRUE(letter);
    EXPECT_EQ(letter->sender, "StreamMgr");
}

// A barrier that several processes leave together, closer in time than a pipe could wake them.
class StartingLine {
public:
    explicit StartingLine(int starters)
        : missing_(new (mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) std::atomic<int>(starters)) {}
    ~StartingLine() { munmap(missing_, sizeof *missing_); }

    StartingLine(StartingLine const&) = delete;
    StartingLine& operator=(StartingLine const&) = delete;

    void Leave() const {
        --*missing_;
        while (*missing_ > 0) {
            sched_yield();
        }
    }

private:
    std::atomic<int>* missing_;
};

// Several processes find the same stale socket at the same time: one takes the name, and keeps it.
TEST_F(EndpointTest, OfManyStartersOneGetsTheName) {
    enum Outcome { refused, hasTheName, hasLostTheName };
    constexpr int rounds = 60;
    constexpr int starters = 4;
    Endpoint::Open("Other"); // makes the directory
    for (int round = 0; round < rounds; ++round) {
        { RawSocket const gone(root_.Ipc() / "StreamMgr"); }
        StartingLine const line(starters);
        Event tried;
        Event end;
        std::vector<std::unique_ptr<ChildProcess>> children;
        children.reserve(starters);
        for (int starter = 0; starter < starters; ++starter) {
            children.push_back(std::make_unique<ChildProcess>([&] {
                line.Leave();
                std::string error;
                auto endpoint = TryOpen("StreamMgr", error);
                tried.Signal();
                end.Wait(); // all have tried
                if (!endpoint) {
                    return refused;
                }
                bool const reached =
                    endpoint->Send("StreamMgr", 1, {}, 0, 0) && endpoint->Receive();
                return reached ? hasTheName : hasLostTheName;
            }));
        }
        for (int starter = 0; starter < starters; ++starter) {
            ASSERT_TRUE(tried.Wait());
        }
        for (int starter = 0; starter < starters; ++starter) {
            end.Signal();
        }
        std::vector<int> outcomes;
        outcomes.reserve(starters);
        for (auto const& child : children) {
            outcomes.push_back(child->Wait());
        }
        std::ranges::sort(outcomes);
        ASSERT_EQ(outcomes, (std::vector<int>{refused, refused, refused, hasTheName}))
            << "round " << round;
    }
}

TEST_F(EndpointTest, DestructionRemovesTheSocket) {
    {
        Endpoint const endpoint = Endpoint::Open("Brief");
        EXPECT_TRUE(std::filesystem::exists(root_.Ipc() / "Brief"));
    }
    EXPECT_FALSE(std::filesystem::exists(root_.Ipc() / "Brief"));
}

TEST_F(EndpointTest, ExitRemovesTheSocket) {
    ChildProcess child([&] {
        Endpoint const endpoint = Endpoint::Open("Exiting");
        std::exit(std::filesystem::exists(root_.Ipc() / "Exiting") ? 7 : 1);
        return 0;
    });
    EXPECT_EQ(child.Wait(), 7);
    EXPECT_FALSE(std::filesystem::exists(root_.Ipc() / "Exiting"));
}

TEST_F(EndpointTest, ExitInASignalHandlerRemovesTheSocket) {
    ChildProcess child([&] {
        Endpoint const endpoint = Endpoint::Open("Interrupted");
        std::signal(SIGINT, [](int) { std::exit(-1); });
        raise(SIGINT);
        return 0;
    });
    EXPECT_EQ(child.Wait(), 255);
    EXPECT_FALSE(std::filesystem::exists(root_.Ipc() / "Interrupted"));
}

TEST_F(EndpointTest, ForkedChildLeavesTheSocketToItsParent) {
    auto endpoint = std::make_unique<Endpoint>(Endpoint::Open("Parent"));
    ChildProcess exiting([] {
        std::exit(0);
        return 1;
    });
    EXPECT_EQ(exiting.Wait(), 0);
    ChildProcess destroying([&] {
        endpoint.reset();
        return 0;
    });
    EXPECT_EQ(destroying.Wait(), 0);
    EXPECT_TRUE(endpoint->Send("Parent", 1, {}, 0, 0));
}

TEST(EndpointPathTest, LengthOfTheRootsPathDoesNotCount) {
    TemporaryRoot const root;
    auto const deep = root.Path() / std::string(100, 'a') / std::string(100, 'b');
    std::filesystem::create_directories(deep);
    setenv("STREAMMGR_ROOT", deep.c_str(), 1);
    std::string const longestName(maxEndpointNameLength, 'n');
    Endpoint receiver = Endpoint::Open(longestName);
    Endpoint const sender = Endpoint::Open("Sender");
    ASSERT_TRUE(sender.Send(longestName, 1, {}, 0, 0));
    auto const letter = receiver.Receive();
    ASSERT_TRUE(letter);
    EXPECT_EQ(letter->sender, "Sender");
    EXPECT_TRUE(sender.Send("Sender", 1, {}, 0, 0));
    EXPECT_TRUE(std::filesystem::exists(deep / "ipc" / longestName));
}

// Subscribers that do not read for a while, or receive what no service sends.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <list>
#include <sstream>

#include "Events.h"
#include "Intruder.h"
#include "TransportStream.h"

namespace e2e {
namespace {

using workstation::FileDescriptor;

std::string NameOf(Child const& tool) {
    return "StreamMgrCli_" + std::to_string(tool.Pid());
}

class Subscriber : public testing::Test {
protected:
    static constexpr int streams = 4;

    // The service then records what is written into the pipes.
    Subscriber() {
        recorder.CreatePool(streams);
        Words arguments;
        std::list<FileDescriptor> readers; // a descriptor ends its recording, a FIFO does not
        for (int stream = 1; stream <= streams; ++stream) {
            EXPECT_EQ(mkfifo(Pipe(stream).c_str(), 0600), 0);
            readers.emplace_back(open(Pipe(stream).c_str(), O_RDONLY | O_NONBLOCK));
            arguments.insert(arguments.end(),
                             {"--record", std::to_string(stream) + "=/dev/fd/" +
                                              std::to_string(readers.back().Get())});
        }
        recorder.StartService(arguments);
    }

    std::string Pipe(int stream) const {
        return recorder.Directory() / ("pipe" + std::to_string(stream));
    }

    Child& Subscribe() {
        Child& client = clients.emplace_back(recorder.ToolCommand({"-c"}));
        EXPECT_TRUE(recorder.Logs("subscription requested by " + NameOf(client) + '\n', 3));
        return client;
    }

    // Records the clip into each stream. One is over, and the one client that is awake has been
    // notified, before the next begins: between streams there is no order.
    void RecordAll() const {
        for (int stream = 1; stream <= streams; ++stream) {
            WriteFile(Pipe(stream), Clip());
            ASSERT_TRUE(recorder.Logs(" stopped\n", stream));
            ASSERT_TRUE(recorder.Logs("RecordStopHandler", stream));
        }
    }

    // What the service recorded and what a client was notified of, in the same words.
    std::string Recorded() const {
        std::string const log = recorder.LogOf("StreamMgr");
        return Replaced(Only("recording .* (started|stopped)", log),
                        "stream .: recording (.*) (start|stop)(ed|ped)", "Record $2, reid $1");
    }
    std::string Told(Child const& client) const {
        return Replaced(Only("Record (start|stop), reid", recorder.LogOf(NameOf(client))),
                        ".*: Record", "Record");
    }

    // The lines that the expression matches.
    static std::string Only(std::string const& expression, std::string const& text) {
        std::istringstream lines(text);
        std::string found;
        for (std::string line; std::getline(lines, line);) {
            if (Replaced(line, expression, "") != line) {
                found += line + '\n';
            }
        }
        return found;
    }

    Recorder recorder;
    std::list<Child> clients;
};

TEST_F(Subscriber, ThatSleepKeepNoOtherFromBeingServedAndAreSentEverythingWhenTheyWake) {
    for (int number = 0; number < 60; ++number) {
        Subscribe().Signal(SIGSTOP);
    }
    Child const& awake = Subscribe();
    RecordAll();
    EXPECT_EQ(recorder.Tool({"-s", "3", "-p"}).status, 0);
    EXPECT_EQ(Told(awake), Recorded());

    clients.front().Signal(SIGCONT);
    ASSERT_TRUE(recorder.Logs("RecordStopHandler", 2 * streams));
    EXPECT_EQ(Told(clients.front()), Recorded());
}

TEST_F(Subscriber, ThatIsKilledIsForgotten) {
    Child& killed = Subscribe();
    Child const& living = Subscribe();
    EXPECT_EQ(recorder.Tool({"-i"}).status, 0);
    ASSERT_TRUE(recorder.Logs("4 recordings, 6 subscriptions"));
    killed.Signal(SIGKILL);
    EXPECT_EQ(killed.Finish().status, -SIGKILL);
    RecordAll();
    ASSERT_TRUE(recorder.Logs("subscriber " + NameOf(killed) + " is gone"));
    EXPECT_EQ(recorder.Tool({"-i"}).status, 0);
    ASSERT_TRUE(recorder.Logs(" recordings, 3 subscriptions"));
    EXPECT_EQ(Told(living), Recorded());
}

// Of four files one is free; the event holds the first and the third, and the buffer begins with
// the second, the oldest that may be wiped.
TEST_F(Subscriber, IsSentTheFiguresOfTheStorageDump) {
    for (int stream = 1; stream <= 3; ++stream) {
        WriteFile(Pipe(stream), Clip());
        ASSERT_TRUE(recorder.Logs(" stopped\n", stream));
    }
    MakeEvent(recorder, everySince2000 + ",r");
    Child const& client = Subscribe();
    ASSERT_TRUE(recorder.Logs("free: "));
    EXPECT_EQ(recorder.Tool({"-S"}).status, 0);
    ASSERT_TRUE(recorder.Logs("storage: "));

    std::string const dump = Only("^storage: ", recorder.LogOf("StreamMgr"));
    EXPECT_EQ(
        dump,
        "storage: total 385024 KiB, buffer 192512 KiB (50.0 %), event untransferred in buffer "
        "96256 KiB (25.0 %), event untransferred not in buffer 96256 KiB (25.0 %), free 96256 "
        "KiB (25.0 %)\n");
    std::string const told = Only("\t", recorder.LogOf(NameOf(client)));
    EXPECT_EQ(Replaced(told, "StreamMgrCli:[0-9]+ \t", ""),
              "total: 376 MB\nbuffer: 188 MB\nevent untransferred in buffer: 94 MB\n"
              "event untransferred not in buffer: 94 MB\nfree: 94 MB\n");
}

// Waits until a client has all its subscriptions confirmed: only then does it listen to this. What
// filled its queue before would keep the service's answers out.
void AwaitReadiness(Recorder const& recorder, Intruder const& intruder, std::string const& client) {
    intruder.Send(Message(0x3616, Word(5) + "ready"), client);
    ASSERT_TRUE(recorder.Logs("reid ready\n"));
}

// A length beyond the message, a short one, and one that is no notification at all.
TEST_F(Subscriber, ThatIsLiedToReadsNothingOutsideOfTheMessage) {
    Child& client = Subscribe();
    Intruder const intruder(recorder, "Intruder");
    AwaitReadiness(recorder, intruder, NameOf(client));
    for (std::uint32_t const id : {0x3615U, 0x3616U}) {
        for (std::string const& payload :
             {std::string(), Word(1), Word(4) + "abc", Word(0x7FFFFFFF) + "abc",
              Word(0xFFFFFFFF) + "abc", Word(0xFFFFFFFC), std::string(65536, '\xFF')}) {
            intruder.Send(Message(id, payload), NameOf(client));
        }
    }
    intruder.Send(Message(0x3614, Word(0x400)), NameOf(client));
    intruder.Send(Message(0x4711, Word(5)), NameOf(client));
    intruder.Send("x", NameOf(client));
    intruder.Send(Message(0x3615, Word(4) + "good"), NameOf(client));
    ASSERT_TRUE(recorder.Logs("reid good\n"));
    std::string const told = Told(client);
    EXPECT_EQ(Replaced(told, "Record (start|stop), reid \n", ""),
              "Record stop, reid ready\nRecord start, reid good\n");
    EXPECT_EQ(std::ranges::count(told, '\n'), 1 + 7 + 7 + 1);
    client.Signal(SIGINT);
    EXPECT_EQ(client.Finish(), (Outcome{255, "", ""}));
}

TEST_F(Subscriber, ThatIsSentWhatIsNoMessageDoesNotHearIt) {
    Child& client = Subscribe();
    Intruder const intruder(recorder, "Intruder");
    AwaitReadiness(recorder, intruder, NameOf(client));
    for (std::uint32_t const id : {0x3614U, 0x3615U, 0x3616U}) {
        for (std::string const& datagram : Malformed(id)) {
            intruder.Send(datagram, NameOf(client));
        }
    }
    intruder.Send(Message(0x3615, Word(4) + "good"), NameOf(client));
    ASSERT_TRUE(recorder.Logs("reid good\n"));
    EXPECT_EQ(Told(client), "Record stop, reid ready\nRecord start, reid good\n");
    client.Signal(SIGINT);
    EXPECT_EQ(client.Finish(), (Outcome{255, "", ""}));
}

// --- subscriptions that fail, and what comes after one that does not ----------------------------

class Connect : public testing::Test {
protected:
    // The tool at a log level; what it logs then goes without line numbers.
    Outcome ToolAtLevel(char const* level, Words const& arguments) {
        Command command = recorder.ToolCommand(arguments);
        command.environment["STREAMMGR_LOGLEVEL"] = level;
        Child tool(command);
        name = NameOf(tool);
        return tool.Finish();
    }
    std::string Logged() const {
        return Replaced(recorder.LogOf(name), "StreamMgrCli:[0-9]+", "StreamMgrCli:N");
    }

    void StartService() {
        recorder.CreatePool(1);
        recorder.StartService();
    }

    std::string const notSubscribed = "StreamMgrCli:N Could not subscribe to StreamMgr\n";
    Recorder recorder;
    std::string name; // of the last tool
};

TEST_F(Connect, WithoutAServiceFailsWithAnEntryInTheLog) {
    EXPECT_EQ(ToolAtLevel("1", {"-c"}), (Outcome{99, notRunning, ""}));
    EXPECT_EQ(Logged(), notSubscribed);
    EXPECT_EQ(std::ranges::count(recorder.Log(), '\n'), 1) << recorder.Log();
}

TEST_F(Connect, WithoutAServiceFailsSilentlyWhenErrorsAreNotLogged) {
    for (char const* const level : {"0", "2"}) {
        EXPECT_EQ(ToolAtLevel(level, {"--connect"}), (Outcome{99, notRunning, ""})) << level;
        EXPECT_EQ(recorder.Log(), "") << level;
    }
}

TEST_F(Connect, ThatFailsIsFollowedByTheNextOption) {
    EXPECT_EQ(ToolAtLevel("1", {"-c", "-p"}),
              (Outcome{99, notRunning, "Error sending request ping\n"}));
    EXPECT_EQ(Logged(), notSubscribed);
    StartService();
    EXPECT_EQ(ToolAtLevel("1", {"-p"}), (Outcome{0, "Successfully sent ping request\n", ""}));
}

TEST_F(Connect, ThatSucceedsNeverComesToTheNextOption) {
    StartService();
    Child tool(recorder.ToolCommand({"-c", "-p"}));
    ASSERT_TRUE(recorder.Logs("subscription requested by " + NameOf(tool) + '\n', 3));
    ASSERT_TRUE(recorder.Logs("\tfree: ")); // the tool waits for notifications
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), (Outcome{255, "", ""}));
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    EXPECT_EQ(recorder.LogOf("StreamMgr").find("ping"), std::string::npos) << recorder.Log();
}

TEST_F(Connect, ToAStoppedServiceIsGivenUp) {
    StartService();
    recorder.Service().Signal(SIGSTOP);
    EXPECT_EQ(ToolAtLevel("1", {"-c"}), (Outcome{99, "", ""}));
    EXPECT_EQ(Logged(), notSubscribed);
    recorder.Service().Signal(SIGCONT);
    EXPECT_EQ(recorder.Tool({"-p"}).status, 0);
}

} // namespace
} // namespace e2e

// Requests of the tool to a service that serves, is gone, or does not listen.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include "Recorder.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

struct Request {
    char const* option;
    char const* text;
};

void PrintTo(Request const& request, std::ostream* stream) {
    *stream << request.option;
}

std::string Sent(std::string const& text) {
    return "Successfully sent " + text + " request\n";
}

std::string NotSent(std::string const& text) {
    return "Error sending request " + text + '\n';
}

class EveryRequest : public testing::TestWithParam<Request> {
protected:
    static Outcome NotConnected() {
        return {99, notRunning, "Error initializing the connection\n" + NotSent(GetParam().text)};
    }
};

TEST_P(EveryRequest, IsSentToTheService) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    EXPECT_EQ(recorder.Tool({GetParam().option}), (Outcome{0, Sent(GetParam().text), ""}));
}

TEST_P(EveryRequest, FailsWithoutAService) {
    Recorder const recorder;
    EXPECT_EQ(recorder.Tool({GetParam().option}),
              (Outcome{99, notRunning, NotSent(GetParam().text)}));
}

TEST_P(EveryRequest, FailsWithoutARoot) {
    Recorder const recorder;
    fs::remove(recorder.Root());
    EXPECT_EQ(recorder.Tool({GetParam().option}), NotConnected());
}

// Also what cannot be written by the superuser: a file where the directory should be.
TEST_P(EveryRequest, FailsWithAFileInTheIpcDirectorysPlace) {
    Recorder const recorder;
    WriteFile(recorder.Root() / "ipc", "");
    EXPECT_EQ(recorder.Tool({GetParam().option}), NotConnected());
}

INSTANTIATE_TEST_SUITE_P(
    Request, EveryRequest,
    testing::Values(Request{"-p", "ping"}, Request{"--ping", "ping"}, Request{"-q", "quit"},
                    Request{"--quit", "quit"}, Request{"-r", "reap"}, Request{"--reaper", "reap"},
                    Request{"-i", "info"}, Request{"--info", "info"},
                    Request{"-S", "Dump Stream File Storage Percentages"},
                    Request{"--Storage", "Dump Stream File Storage Percentages"}));

TEST(Request, TwoPingsAreSentInOneRun) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    EXPECT_EQ(recorder.Tool({"-p", "-p"}), (Outcome{0, Sent("ping") + Sent("ping"), ""}));
}

TEST(Request, QuitEndsTheService) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    EXPECT_EQ(recorder.Tool({"-q"}), (Outcome{0, Sent("quit"), ""}));
    EXPECT_EQ(recorder.Service().Finish(), (Outcome{0, "StreamMgr: ready\n", ""}));
}

TEST(Request, ToKilledServiceFails) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    recorder.StopService(SIGKILL);
    EXPECT_EQ(recorder.Tool({"-p"}), (Outcome{99, notRunning, NotSent("ping")}));
}

// The queue takes what it takes; what comes after it is refused after a short wait.
TEST(Request, ToStoppedServiceFailsOnceTheQueueIsFull) {
    Recorder recorder;
    recorder.CreatePool(1);
    Child& service = recorder.StartService();
    int queueLength = 0;
    std::ifstream("/proc/sys/net/unix/max_dgram_qlen") >> queueLength;
    ASSERT_GT(queueLength, 0);

    service.Signal(SIGSTOP);
    Outcome outcome{};
    for (int sent = 0; outcome.status == 0 && sent <= queueLength + 1; ++sent) {
        outcome = recorder.Tool({"-p"});
    }
    EXPECT_EQ(outcome, (Outcome{99, "", NotSent("ping")}));

    service.Signal(SIGCONT);
    EXPECT_EQ(recorder.Tool({"-p", "-q"}), (Outcome{0, Sent("ping") + Sent("quit"), ""}));
    EXPECT_EQ(service.Finish().status, 0);
}

TEST(Request, ThatIsSentLeavesNoEndpoint) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    recorder.Tool({"-p"});
    recorder.StopService(SIGTERM);
    EXPECT_TRUE(fs::is_empty(recorder.Root() / "ipc"));
}

TEST(Request, RunningServiceIsSeenByTheSystemsPidof) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    fs::remove(recorder.Directory() / "bin/pidof");
    EXPECT_EQ(recorder.Tool({"-p"}), (Outcome{0, Sent("ping"), ""}));
}

// --- log level ---------------------------------------------------------------------------------

std::string MenuAt(std::string const& level) {
    return "Log level of StreamMgr: " + level +
           "\n  0  none\n  1  errors and notifications\n  2  notes\n  3  everything\n"
           "New log level: ";
}

class LogLevel : public testing::Test {
protected:
    LogLevel() {
        recorder.CreatePool(1);
        recorder.StartService();
    }

    Outcome Choose(std::string const& input) const {
        Command command = recorder.ToolCommand({"-l"});
        command.input = input;
        return RunToEnd(command);
    }

    Recorder recorder;
};

TEST_F(LogLevel, IsSetByNumber) {
    EXPECT_EQ(recorder.Tool({"-s", "1"}), (Outcome{0, "", ""}));
    EXPECT_EQ(Choose("3\n"), (Outcome{0, MenuAt("1 (errors and notifications)"), ""}));
    EXPECT_EQ(recorder.Tool({"--setloglevel", "2"}), (Outcome{0, "", ""}));
    EXPECT_EQ(Choose("0\n"), (Outcome{0, MenuAt("2 (notes)"), ""}));
}

TEST_F(LogLevel, OfTextThatIsNoNumberIsZero) {
    EXPECT_EQ(recorder.Tool({"-s", "abc"}), (Outcome{0, "", ""}));
    EXPECT_EQ(Choose("0\n"), (Outcome{0, MenuAt("0 (none)"), ""}));
}

TEST_F(LogLevel, IsRefusedWhenTheServiceDoesNotKnowIt) {
    EXPECT_EQ(recorder.Tool({"-s", "4"}),
              (Outcome{99, "", "Could not set the log level of StreamMgr: refused\n"}));
}

TEST_F(LogLevel, MenuAtTheEndOfInputChangesNothing) {
    EXPECT_EQ(Choose(""),
              (Outcome{99, MenuAt("3 (everything)") + '\n', "No log level was chosen\n"}));
    EXPECT_EQ(Choose("3\n"), (Outcome{0, MenuAt("3 (everything)"), ""}));
}

TEST_F(LogLevel, MenuRefusesWhatItDoesNotOffer) {
    EXPECT_EQ(Choose("7\n"),
              (Outcome{99, MenuAt("3 (everything)"), "There is no log level '7'\n"}));
}

TEST_F(LogLevel, MenuIsUsedOnATerminal) {
    Command command = recorder.ToolCommand({"--loglevel"});
    command.onTerminal = true;
    Child tool(command);
    ASSERT_TRUE(tool.Says("New log level: "));
    tool.Type("1\n");
    EXPECT_EQ(tool.Finish(), (Outcome{0, MenuAt("3 (everything)"), ""}));
    EXPECT_EQ(Choose("3\n"), (Outcome{0, MenuAt("1 (errors and notifications)"), ""}));
}

TEST(LogLevelWithoutService, IsNotSet) {
    Recorder const recorder;
    EXPECT_EQ(recorder.Tool({"-s", "1"}),
              (Outcome{99, notRunning, "Could not set the log level of StreamMgr: no answer\n"}));
    EXPECT_EQ(recorder.Tool({"-l"}),
              (Outcome{99, notRunning, "Could not get the log level of StreamMgr: no answer\n"}));
}

TEST(LogLevelOfStoppedService, IsGivenUpAfterAWhile) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService().Signal(SIGSTOP);
    EXPECT_EQ(recorder.Tool({"-s", "1"}),
              (Outcome{99, "", "Could not set the log level of StreamMgr: no answer\n"}));
}

} // namespace
} // namespace e2e

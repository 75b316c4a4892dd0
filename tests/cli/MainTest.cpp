// The way of the process from its start to its end.
#include <algorithm>
#include <csignal>

#include "CliTest.h"
#include "fakes/Show.h"

int StreamMgrCliMain(int argc, char** argv);

namespace {

class MainTest : public SeamTest {
protected:
    int Main(std::vector<std::string> arguments = {"StreamMgrCli"}) {
        std::vector<char*> argv(arguments.size() + 1, nullptr);
        std::transform(arguments.begin(), arguments.end(), argv.begin(),
                       [](std::string& argument) { return argument.data(); });
        return StreamMgrCliMain(static_cast<int>(arguments.size()), argv.data());
    }

    static std::string CallsBeforeGo(std::string const& name) {
        return "log.ProcessName(\"" + name +
               "\")\n"
               "CommonCli()\n"
               "LinxIpc(\"" +
               name +
               "\")\n"
               "ServerName(20)\n"
               "signal(2)\n";
    }

    static std::string CallsAfterGo(std::string const& name) {
        return "pool.Unload()\n"
               "~LinxIpc(\"" +
               name +
               "\")\n"
               "~CommonCli()\n";
    }
};

TEST_F(MainTest, CallsComeInTheirOrder) {
    EXPECT_EQ(Main({"StreamMgrCli", "-p", "5"}), 0);
    EXPECT_EQ(platform.Calls(), CallsBeforeGo("StreamMgrCli_4711") +
                                    "Go(3, \"hpqrilcs:x:e:X:y:Y:f:F:d:S\")\n" +
                                    CallsAfterGo("StreamMgrCli_4711"));
    ExpectOutput("", "");
}

TEST_F(MainTest, ProcessIsNamedAfterItsNumber) {
    platform.processId = 2147483647;
    Main();
    EXPECT_EQ(platform.Calls().rfind(CallsBeforeGo("StreamMgrCli_2147483647"), 0), 0U);
}

TEST_F(MainTest, FrameIsGivenTheArguments) {
    std::vector<std::string> const arguments = {"./StreamMgrCli", "-x", "5", "--stats", "0"};
    Main(arguments);
    ASSERT_TRUE(platform.commandLine);
    EXPECT_EQ(platform.commandLine->arguments, arguments);
    EXPECT_EQ(platform.commandLine->shortOptions, "hpqrilcs:x:e:X:y:Y:f:F:d:S");
}

TEST_F(MainTest, FrameIsGivenTheWholeOptionTable) {
    struct Entry {
        char const* name;
        int hasArgument;
        int value;
    };
    constexpr Entry expected[] = {
        {"help", 0, 'h'},
        {"usage", 0, 'h'},
        {"ping", 0, 'p'},
        {"quit", 0, 'q'},
        {"reaper", 0, 'r'},
        {"info", 0, 'i'},
        {"loglevel", 0, 'l'},
        {"connect", 0, 'c'},
        {"filechain", 1, 'f'},
        {"FILECHAIN", 1, 'F'},
        {"delete", 1, 'd'},
        {"setloglevel", 1, 's'},
        {"extract", 1, 'x'},
        {"editandextract", 1, 'e'},
        {"extractunbounded", 1, 'X'},
        {"insertboundedbyname", 1, 'y'},
        {"insertunbounded", 1, 'Y'},
        {"ratf", 1, 0xff00},
        {"bkupdb", 1, 0xff01},
        {"lsm", 0, 0xff02},
        {"lsmi", 0, 0xff03},
        {"listsharedmem", 0, 0xff02},
        {"lproc", 0, 0xff04},
        {"listprocesses", 0, 0xff04},
        {"multiextract", 1, 0xff05},
        {"multiread", 1, 0xff06},
        {"split", 1, 0xff07},
        {"stats", 1, 0xff08},
        {"tickinfo", 1, 0xff09},
        {"Storage", 0, 'S'},
        {nullptr, 0, 0},
    };
    Main();
    ASSERT_TRUE(platform.commandLine);
    auto const& options = platform.commandLine->longOptions;
    ASSERT_EQ(options.size(), std::size(expected));
    for (std::size_t i = 0; i < options.size(); ++i) {
        EXPECT_STREQ(options[i].name, expected[i].name) << "entry " << i;
        EXPECT_EQ(options[i].has_arg, expected[i].hasArgument) << "entry " << i;
        EXPECT_EQ(options[i].flag, nullptr) << "entry " << i;
        EXPECT_EQ(options[i].val, expected[i].value) << "entry " << i;
    }
}

TEST_F(MainTest, OnlyTheFramesSuccessIsSuccess) {
    struct Case {
        unsigned int frame;
        int status;
    };
    // One run after the other, as if each were a process of its own.
    for (Case const& run : {Case{3, 0}, Case{2, 99}, Case{1, 99}, Case{0, 99}, Case{4, 99},
                            Case{99, 99}, Case{0xffffffff, 99}}) {
        platform.pool.unloaded = false;
        platform.frame = [&run](CommonCli&) { return run.frame; };
        EXPECT_EQ(Main(), run.status) << run.frame;
    }
    ExpectOutput("", "");
}

TEST_F(MainTest, SeveralOptionsRunOnOneTool) {
    platform.pidofOutput = "";
    platform.frame = PlayOptions({{'p', nullptr}, {'s', "5"}, {'?', nullptr}, {'q', nullptr}});
    EXPECT_EQ(Main(), 99);
    std::string const out = platform.Out();
    EXPECT_EQ(out.rfind("StreamMgr is currently NOT running\n"
                        "Successfully sent ping request\n"
                        "Usage: \n",
                        0),
              0U);
    EXPECT_NE(out.find("given file number\nSuccessfully sent quit request\n"), std::string::npos);
}

TEST_F(MainTest, InterruptHandlerIsInPlaceWhenTheFrameRuns) {
    platform.frame = [this](CommonCli&) {
        EXPECT_EQ(platform.signalHandlers[SIGINT], &TerminationHandler);
        return 3U;
    };
    EXPECT_EQ(Main(), 0);
}

TEST_F(MainTest, InterruptUnloadsThePoolOnceAndEndsTheProcess) {
    platform.frame = [this](CommonCli&) -> unsigned int {
        platform.signalHandlers.at(SIGINT)(SIGINT);
        ADD_FAILURE() << "came back from the interrupt";
        return 3;
    };
    try {
        Main();
        ADD_FAILURE() << "main came back";
    } catch (ProcessExit const& exit) {
        EXPECT_EQ(exit.status, -1);
    }
    EXPECT_EQ(platform.Calls(), CallsBeforeGo("StreamMgrCli_4711") +
                                    "Go(1, \"hpqrilcs:x:e:X:y:Y:f:F:d:S\")\n"
                                    "pool.Unload()\n"
                                    "exit(-1)\n");
    ExpectOutput("", "");
}

} // namespace

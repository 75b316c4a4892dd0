// Requests to a service that takes them and does not answer.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <future>
#include <list>

#include "EventDatabase.h"
#include "Events.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

struct Unanswered {
    Words arguments;
    Outcome outcome;
    std::chrono::seconds patience; // of the tool
};

// All wait at the same time: an event operation for a minute, a subscription for five seconds.
TEST(Timeout, OfEveryRequestIsAFailureAndItsLateAnswerDoesNoHarm) {
    Recorder recorder;
    recorder.CreatePool(2);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--fast"});
    ASSERT_TRUE(recorder.Logs(" stopped\n"));
    std::string const reid = MakeEvent(recorder, everySince2000);
    fs::path const backup = recorder.Directory() / "backup";
    std::string const rule = std::string(95, '#') + '\n';
    std::list<Unanswered> const requests{
        {{"--ratf", everySince2000}, {0, "", "RATF call FAILED\n"}, 60s},
        {{"--split", reid + ",1"},
         {0, "",
          '\n' + rule + "Submitting Split Event request with REID: '" + reid +
              "', splitsize = 1 GiB\n" + rule + "\nSPLIT call FAILED\n"},
         60s},
        {{"--bkupdb", backup}, {0, "", "backup failed\n"}, 60s},
        {{"-c"}, {99, "", ""}, 5s},
    };

    recorder.Service().Signal(SIGSTOP);
    auto const start = std::chrono::steady_clock::now();
    std::list<Child> clients;
    for (Unanswered const& request : requests) {
        clients.emplace_back(recorder.ToolCommand(request.arguments));
    }
    std::list<std::future<void>> ends; // each is waited for when it goes
    auto client = clients.begin();
    for (Unanswered const& request : requests) {
        ends.push_back(std::async(std::launch::async, [&request, start, &tool = *client++] {
            EXPECT_EQ(tool.Finish(), request.outcome) << request.arguments.front();
            EXPECT_GE(std::chrono::steady_clock::now() - start, request.patience)
                << request.arguments.front();
        }));
    }
    ends.clear();
    EXPECT_FALSE(fs::exists(backup));

    // The request is still carried out when the service runs again.
    recorder.Service().Signal(SIGCONT);
    EXPECT_EQ(recorder.Tool({"-s", "3"}), (Outcome{0, "", ""}));
    ASSERT_TRUE(fs::exists(backup));
    EXPECT_EQ(Faults(backup), "");
    EXPECT_EQ(Faults(recorder.Root() / "events.db"), "");
    EXPECT_EQ(recorder.Tool({"--bkupdb", backup}), (Outcome{0, "backup successful\n", ""}));
    MakeEvent(recorder, everySince2000);
    EXPECT_EQ(recorder.StopService(SIGTERM), (Outcome{0, "StreamMgr: ready\n", ""}));
}

} // namespace
} // namespace e2e

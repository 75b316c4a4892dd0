// The plain text requests to the service.
#include <tuple>

#include "CliTest.h"
#include "fakes/Show.h"

namespace {

struct Request : NamedCase {
    int option;
    unsigned int id;
    std::string text;
};

Request const requests[] = {
    {{"Ping"}, 'p', 13827, "ping"},
    {{"Quit"}, 'q', 1280, "quit"},
    {{"Reaper"}, 'r', 13838, "reap"},
    {{"Info"}, 'i', 13839, "info"},
    {{"Storage"}, 'S', 13882, "Dump Stream File Storage Percentages"},
};

// The steps of a request that can fail, named after their calls.
struct Step : NamedCase {
    int number;
    std::string failure;
};

Step const steps[] = {
    {{"Allocate"}, 1, "Error allocating request for "},
    {{"Fill"}, 2, "Error populating request string with "},
    {{"Request"}, 3, "Error sending request "},
};

// The calls of a request that comes as far as a step.
std::string RequestCalls(Request const& request, int lastStep) {
    std::string const size = std::to_string(request.text.size() + 1);
    std::string const id = std::to_string(request.id);
    std::string const payload = Show(request.text + '\0');
    std::string calls = "IpcMessage()\nmessage.Allocate(" + id + ", " + size + ", null)\n";
    if (lastStep >= 2) {
        calls += "message.Fill(" + payload + ", " + size + ")\n";
    }
    if (lastStep >= 3) {
        calls += "ipc.Request(\"TheService\", " + id + " " + payload + ", 0, -1, null)\n";
    }
    return calls;
}

std::string Sent(Request const& request) {
    return "Successfully sent " + request.text + " request\n";
}

class ControlRequestTest : public CliTest {
protected:
    // The connection could not be made, and no service runs.
    void PrepareInVain() {
        platform.Script("Init", 1, {1});
        platform.pidofOutput = "";
        EXPECT_EQ(cli.PreInit(), 2U);
    }

    void ExpectDelivery(Request const& request) {
        std::string const before = platform.Recorded().Trace();
        EXPECT_EQ(cli.ProcessOption(request.option, nullptr), 3U);
        EXPECT_EQ(platform.Recorded().Trace(), before + RequestCalls(request, 3) + "out " +
                                                   Show(Sent(request)) + "\n~IpcMessage()\n");
    }

    void ExpectFailure(Request const& request, Step const& step, long answer) {
        std::string const before = platform.Recorded().Trace();
        platform.Script(step.name, 1, {answer});
        EXPECT_EQ(cli.ProcessOption(request.option, nullptr), 2U);
        EXPECT_EQ(platform.Recorded().Trace(),
                  before + RequestCalls(request, step.number) + "err " +
                      Show(step.failure + request.text + "\n") + "\n~IpcMessage()\n");
    }
};

class EachControlRequest : public ControlRequestTest,
                           public ::testing::WithParamInterface<Request> {};

TEST_P(EachControlRequest, IsReportedWhenItWasDelivered) {
    ExpectDelivery(GetParam());
    EXPECT_EQ(platform.Recorded().FlushedOut(), Sent(GetParam()) + "<flush>");
}

TEST_P(EachControlRequest, IsTriedAlsoWithoutServiceAndWithoutConnection) {
    PrepareInVain();
    ExpectDelivery(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Option, EachControlRequest, ::testing::ValuesIn(requests), NameOfCase());

// The failing answer of a step comes last: any but 0 is a failure.
using FailureCase = std::tuple<Request, Step, long>;

std::string FailureName(::testing::TestParamInfo<FailureCase> const& info) {
    auto const& [request, step, answer] = info.param;
    return request.name + step.name + (answer < 0 ? "Negative" : "Positive");
}

class FailedControlRequest : public ControlRequestTest,
                             public ::testing::WithParamInterface<FailureCase> {};

TEST_P(FailedControlRequest, EndsWithTheMessageOfItsStep) {
    auto const& [request, step, answer] = GetParam();
    ExpectFailure(request, step, answer);
}

TEST_P(FailedControlRequest, EndsThereAlsoWithoutServiceAndWithoutConnection) {
    auto const& [request, step, answer] = GetParam();
    PrepareInVain();
    ExpectFailure(request, step, answer);
}

INSTANTIATE_TEST_SUITE_P(OptionAndStep, FailedControlRequest,
                         ::testing::Combine(::testing::ValuesIn(requests),
                                            ::testing::ValuesIn(steps), ::testing::Values(1L, -1L)),
                         FailureName);

TEST_F(ControlRequestTest, TwoPingsAreTwoRequests) {
    std::string const before = platform.Calls();
    EXPECT_EQ(cli.ProcessOption('p', nullptr), 3U);
    EXPECT_EQ(cli.ProcessOption('p', nullptr), 3U);
    ExpectOutput("Successfully sent ping request\nSuccessfully sent ping request\n", "");
    std::string const ping = RequestCalls(requests[0], 3) + "~IpcMessage()\n";
    EXPECT_EQ(platform.Calls(), before + ping + ping);
}

TEST_F(ControlRequestTest, TextAndIdOfTheCallerAreSentAsTheyAre) {
    std::string const before = platform.Calls();
    Request const request{{"Any"}, 0, 0xffffffff, "a longer\ntext"};
    EXPECT_EQ(cli.SendRequest(request.id, request.text), 3U);
    ExpectOutput("Successfully sent a longer\ntext request\n", "");
    EXPECT_EQ(platform.Calls(), before + RequestCalls(request, 3) + "~IpcMessage()\n");
}

TEST_F(ControlRequestTest, EmptyTextIsSentAsItsTerminator) {
    EXPECT_EQ(cli.SendRequest(1, ""), 3U);
    ExpectOutput("Successfully sent  request\n", "");
}

} // namespace

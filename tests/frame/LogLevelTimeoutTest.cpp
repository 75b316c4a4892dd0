// Cases for the requests of the log level as they are sent.
#include <gmock/gmock.h>

#include <iostream>
#include <sstream>

#include "CommonCli.h"
#include "LinxIpc.h"
#include "api/RecordedIpc.h"

using testing::ElementsAre;

namespace {

class Tool : public CommonCli {
public:
    void Usage() override {}
    unsigned int ProcessOption(int, char const*) override { return 3; }
};

} // namespace

TEST(LogLevelTimeoutTest, RequestsWaitFiveSeconds) {
    LinxIpc ipc("Client");
    Tool tool;
    RecordedIpc::payload = std::string("\x01");
    EXPECT_EQ(tool.SetLogLevel(ipc, "Server", 2), 1U);
    RecordedIpc::payload = std::string("\0\0\0\x01", 4);
    std::istringstream nothing;
    std::streambuf* const former = std::cin.rdbuf(nothing.rdbuf());
    EXPECT_EQ(tool.HandleLogLevel(ipc, "Server"), 2U);
    std::cin.rdbuf(former);
    EXPECT_THAT(RecordedIpc::requests, ElementsAre("Server 3682 00000002 reply 3683 timeout 5000",
                                                   "Server 3680  reply 3681 timeout 5000"));
}

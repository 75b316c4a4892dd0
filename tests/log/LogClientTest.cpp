// Cases for the log client.
#include "LogClient.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/ChildProcess.h"

namespace {

// The level that a process starts with when STREAMMGR_LOGLEVEL is `text`; unset for null.
int LevelAtStart(char const* text) {
    ChildProcess process([&] {
        if (text != nullptr) {
            setenv("STREAMMGR_LOGLEVEL", text, 1);
        } else {
            unsetenv("STREAMMGR_LOGLEVEL");
        }
        return static_cast<int>(LogClient::Instance()->Level());
    });
    return process.Wait();
}

} // namespace

TEST(LogClientTest, LevelComesFromTheEnvironment) {
    EXPECT_EQ(LevelAtStart("0"), 0);
    EXPECT_EQ(LevelAtStart("1"), 1);
    EXPECT_EQ(LevelAtStart("2"), 2);
    EXPECT_EQ(LevelAtStart("3"), 3);
    EXPECT_EQ(LevelAtStart("15"), 15);
}

TEST(LogClientTest, WithoutALevelErrorsAndNotificationsAreLogged) {
    EXPECT_EQ(LevelAtStart(nullptr), 1);
}

TEST(LogClientTest, TextThatIsNoLevelIsIgnored) {
    for (char const* const text : {"", " ", "x", "2x", " 2", "2 ", "-1", "+2", "0x2", "4294967296",
                                   "99999999999999999999"}) {
        EXPECT_EQ(LevelAtStart(text), 1) << '\'' << text << '\'';
    }
}

// In a process of its own too: in this one the client must not exist before the cases above.
TEST(LogClientTest, LevelCanBeChanged) {
    ChildProcess process([] {
        LogClient::Instance()->Level(2);
        return static_cast<int>(LogClient::Instance()->Level());
    });
    EXPECT_EQ(process.Wait(), 2);
}

TEST(LogClientTest, ProcessNameIsThatOfTheProgramUntilItIsGiven) {
    ChildProcess process([] {
        LogClient* const client = LogClient::Instance();
        bool const ofProgram = client->ProcessName() == "log_tests";
        client->ProcessName("StreamMgrCli_1234");
        bool const given = LogClient::Instance()->ProcessName() == "StreamMgrCli_1234";
        return ofProgram && given ? 0 : 1;
    });
    EXPECT_EQ(process.Wait(), 0);
}

// The options that change the log level of the service.
#include "CliTest.h"
#include "fakes/Show.h"

namespace {

using LogLevelTest = CliTest;

TEST_F(LogLevelTest, ResultOfTheMenuIsPassedThrough) {
    long const results[] = {3, 2, 0, 1, 77};
    int ordinal = 0;
    for (long const result : results)
        platform.Script("HandleLogLevel", ++ordinal, {result});
    std::string calls = platform.Calls();
    for (long const result : results) {
        EXPECT_EQ(cli.ProcessOption('l', nullptr), result);
        calls += "ServerName(20)\nHandleLogLevel(StreamMgrCli_4711, \"TheService\")\n";
    }
    EXPECT_EQ(platform.Calls(), calls);
    ExpectOutput("", "");
}

TEST_F(LogLevelTest, ResultOfSettingBecomesAStatus) {
    long const results[] = {1, 0, 7};
    int ordinal = 0;
    for (long const result : results)
        platform.Script("SetLogLevel", ++ordinal, {result});
    for (long const result : results)
        EXPECT_EQ(cli.ProcessOption('s', "1"), result + 2);
    ExpectOutput("", "");
}

struct LevelCase {
    char const* argument;
    unsigned int level;
};

class LogLevelArgument : public CliTest, public ::testing::WithParamInterface<LevelCase> {};

TEST_P(LogLevelArgument, IsConvertedWithoutAnyCheck) {
    std::string const before = platform.Calls();
    EXPECT_EQ(cli.ProcessOption('s', GetParam().argument), 3U);
    EXPECT_EQ(platform.Calls(), before +
                                    "ServerName(20)\n"
                                    "SetLogLevel(StreamMgrCli_4711, \"TheService\", " +
                                    Show(GetParam().level) + ")\n");
    ExpectOutput("", "");
}

INSTANTIATE_TEST_SUITE_P(Text, LogLevelArgument,
                         ::testing::Values(LevelCase{"0", 0}, LevelCase{"3", 3},
                                           LevelCase{"abc", 0}, LevelCase{"", 0},
                                           LevelCase{" 12x", 12}, LevelCase{"0x10", 0},
                                           LevelCase{"+7", 7}, LevelCase{"-1", 4294967295U},
                                           LevelCase{"2147483647", 2147483647U},
                                           LevelCase{"2147483648", 2147483647U},
                                           LevelCase{"4294967297", 2147483647U},
                                           LevelCase{"99999999999999999999", 2147483647U},
                                           LevelCase{"-2147483648", 2147483648U},
                                           LevelCase{"-99999999999999999999", 2147483648U}));

} // namespace

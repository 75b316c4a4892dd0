// The options that change the log level of the service.
#include "CliTest.h"

namespace {

using LogLevelTest = CliTest;

TEST_F(LogLevelTest, ResultOfTheMenuIsPassedThrough) {
    long const results[] = {3, 2, 0, 1, 77};
    int ordinal = 0;
    for (long const result : results) {
        platform.Script("HandleLogLevel", ++ordinal, {result});
    }
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
    for (long const result : results) {
        platform.Script("SetLogLevel", ++ordinal, {result});
    }
    for (long const result : results) {
        EXPECT_EQ(cli.ProcessOption('s', "1"), result + 2);
    }
    ExpectOutput("", "");
}

TEST_F(LogLevelTest, LevelIsConvertedWithoutAnyCheck) {
    struct Case {
        char const* argument;
        char const* level;
    };
    constexpr Case cases[] = {
        {"0", "0"},
        {"3", "3"},
        {"abc", "0"},
        {"", "0"},
        {" 12x", "12"},
        {"0x10", "0"},
        {"+7", "7"},
        {"-1", "4294967295"},
        {"2147483647", "2147483647"},
        {"2147483648", "2147483647"},
        {"4294967297", "2147483647"},
        {"99999999999999999999", "2147483647"},
        {"-2147483648", "2147483648"},
        {"-99999999999999999999", "2147483648"},
    };
    std::string calls = platform.Calls();
    for (Case const& row : cases) {
        EXPECT_EQ(cli.ProcessOption('s', row.argument), 3U) << row.argument;
        calls += "ServerName(20)\n"
                 "SetLogLevel(StreamMgrCli_4711, \"TheService\", " +
                 std::string(row.level) + ")\n";
    }
    EXPECT_EQ(platform.Calls(), calls);
    ExpectOutput("", "");
}

} // namespace

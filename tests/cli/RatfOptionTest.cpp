// Option --ratf: record after the fact.
#include <ctime>

#include "CliTest.h"
#include "fakes/Show.h"

namespace {

constexpr char const* hint =
    "start and stop times must be in the form 'MMDDYY-hhmmss,MMDDYY-hhmmss'\n";

class RatfOptionTest : public CliTest {
protected:
    RatfOptionTest() { SetTimeZone("UTC0"); }
    ~RatfOptionTest() override {
        unsetenv("TZ");
        tzset();
    }

    static void SetTimeZone(char const* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

    unsigned int Ratf(std::string const& argument) {
        return cli.ProcessOption(0xff00, argument.c_str());
    }

    static std::string ParseCall(std::string const& text) {
        return "mystrptime(" + Show(text) + ", \"%m%d%y-%H%M%S\")\n";
    }
    static std::string RecordCall(std::string const& start, std::string const& stop,
                                  std::string const& state) {
        return "RecordAfterTheFact(StreamMgrCli_4711, " + start + ", " + stop + ", \"\", 60000, " +
               state + ")\n";
    }
    std::string TagsCall() const {
        return "SetTagsComplete(StreamMgrCli_4711, " + Show(platform.newReid) + ", 60000)\n";
    }
    std::string CreatedLine() const { return "RATF event created REID " + platform.newReid + "\n"; }
    bool WasCalled(std::string const& call) const {
        return platform.Calls().find(call) != std::string::npos;
    }

    std::string const before = platform.Calls();
};

// 4 July 2009, noon and a minute past, in UTC.
constexpr char const* noon = "1246708800";
constexpr char const* minutePast = "1246708860";
constexpr char const* times = "070409-120000,070409-120100";

TEST_F(RatfOptionTest, TwoTimesMakeAnEventOfBothStreams) {
    EXPECT_EQ(Ratf(times), 3U);
    ExpectOutput(CreatedLine(), "");
    EXPECT_EQ(platform.Calls(), before + ParseCall("070409-120000") + ParseCall("070409-120100") +
                                    RecordCall(noon, minutePast, "3") + TagsCall());
}

TEST_F(RatfOptionTest, CodeIsTheLastCharacterWhateverStandsBeforeIt) {
    struct Case {
        char const* code;
        char const* state;
    };
    std::string out;
    std::string calls = before;
    for (Case const& row : {Case{",c", "1"}, Case{",r", "0"}, Case{",rc", "1"}, Case{",cr", "0"},
                            Case{",x,c", "1"}, Case{", c", "1"}}) {
        EXPECT_EQ(Ratf(times + std::string(row.code)), 3U) << row.code;
        out += CreatedLine();
        // The second time is handed on with the comma after it.
        calls += ParseCall("070409-120000") + ParseCall("070409-120100,") +
                 RecordCall(noon, minutePast, row.state) + TagsCall();
    }
    ExpectOutput(out, "");
    EXPECT_EQ(platform.Calls(), calls);
}

TEST_F(RatfOptionTest, OtherCodePrintsTheUsageAndFails) {
    cli.Usage();
    std::string const usage = platform.Out();
    std::string out = usage;
    std::string err;
    for (char const* const code : {",x", ",", ",c ", ",C", ",c,"}) {
        EXPECT_EQ(Ratf(times + std::string(code)), 2U) << code;
        out += usage;
        err += "\nSpecial option not formatted correctly\n\n";
    }
    ExpectOutput(out, err);
    EXPECT_EQ(platform.Calls(), before);
}

TEST_F(RatfOptionTest, ArgumentWithoutACommaIsReportedAndIsCarriedOut) {
    EXPECT_EQ(Ratf("070409-120000"), 3U);
    EXPECT_EQ(Ratf(""), 3U);
    std::string const note = std::string("Did not find comma\n:") + hint;
    ExpectOutput("", note + note);
    EXPECT_EQ(platform.Calls(), before);
}

TEST_F(RatfOptionTest, TextThatIsNoTimeIsReportedAndIsCarriedOut) {
    struct Case {
        std::string argument;
        std::string start;
        std::string stop;
    };
    std::string err;
    for (Case const& row :
         {Case{"07xx09-120000,070409-120100", "07xx09-120000", "070409-120100"},
          Case{"070409-120000,nothing", "070409-120000", "nothing"},
          Case{"070409-120000,nothing,c", "070409-120000", "nothing,"}, Case{",", "", ""},
          Case{"130109-120000,070409-120100", "130109-120000", "070409-120100"},
          Case{"070409 120000,070409-120100", "070409 120000", "070409-120100"}}) {
        EXPECT_EQ(Ratf(row.argument), 3U) << row.argument;
        err += "Dates failed, using " + row.start + " and " + row.stop + "\n" + hint;
    }
    ExpectOutput("", err);
    EXPECT_FALSE(WasCalled("RecordAfterTheFact"));
}

TEST_F(RatfOptionTest, RestAfterATimeIsNoError) {
    EXPECT_EQ(Ratf("070409-120000rest,070409-120100 and more"), 3U);
    EXPECT_TRUE(WasCalled(RecordCall(noon, minutePast, "3")));
}

TEST_F(RatfOptionTest, StopMayLieBeforeStart) {
    EXPECT_EQ(Ratf("070409-120100,070409-120000"), 3U);
    EXPECT_TRUE(WasCalled(RecordCall(minutePast, noon, "3")));
}

TEST_F(RatfOptionTest, TimesAreLocalAndTheSystemDecidesOnDaylightSaving) {
    SetTimeZone("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(Ratf("070409-120000,010409-120000"), 3U);
    EXPECT_TRUE(WasCalled(RecordCall("1246723200", "1231088400", "3")));
}

// The recorder's time_t has 32 bits.
TEST_F(RatfOptionTest, TimesEndWithTheSigned32BitSeconds) {
    EXPECT_EQ(Ratf("010170-000000,011938-031407"), 3U);
    EXPECT_TRUE(WasCalled(RecordCall("0", "2147483647", "3")));
    ExpectOutput(CreatedLine(), "");
    for (char const* const beyond :
         {"070409-120000,011938-031408", "011938-031408,070409-120000",
          "123168-235959,010100-000000", "123169-235959,070409-120000"}) {
        EXPECT_EQ(Ratf(beyond), 3U) << beyond;
    }
    ExpectOutput(CreatedLine(), std::string(hint) + hint + hint + hint);
}

TEST_F(RatfOptionTest, FailedCallIsReportedAndIsCarriedOut) {
    platform.Script("RecordAfterTheFact", 1, {0});
    EXPECT_EQ(Ratf(times), 3U);
    ExpectOutput("", "RATF call FAILED\n");
    EXPECT_FALSE(WasCalled("SetTagsComplete"));
}

TEST_F(RatfOptionTest, EventWithoutAnIdentifierIsReportedAndIsCarriedOut) {
    platform.newReid = "";
    EXPECT_EQ(Ratf(times), 3U);
    ExpectOutput("", "RATF event creation FAIL (REID empty)\n");
    EXPECT_FALSE(WasCalled("SetTagsComplete"));
}

TEST_F(RatfOptionTest, FailedCompletionOfTagsIsNotLookedAt) {
    platform.Script("SetTagsComplete", 1, {0});
    EXPECT_EQ(Ratf(times), 3U);
    ExpectOutput(CreatedLine(), "");
}

} // namespace

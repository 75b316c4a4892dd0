// Cases for the reading of command lines.
#include "frame/OptionReader.h"

#include <gmock/gmock.h>

#include "frame/CommandLine.h"

using testing::ElementsAre;
using workstation::frame::OptionReader;

namespace {

constexpr option longOptions[] = {
    {"ping", no_argument, nullptr, 'p'},
    {"extract", required_argument, nullptr, 'x'},
    {"split", required_argument, nullptr, 0xff07},
    {nullptr, 0, nullptr, 0},
};

// Each option as "value" or "value argument".
std::vector<std::string> Read(std::vector<std::string> const& arguments) {
    CommandLine commandLine(arguments);
    OptionReader reader(commandLine.Argv(), commandLine.Argc(), "px:", longOptions);
    std::vector<std::string> options;
    while (auto const next = reader.Next()) {
        std::string text = std::to_string(next->value);
        if (next->argument != nullptr) {
            text.append(" ").append(next->argument);
        }
        options.push_back(text);
    }
    EXPECT_FALSE(reader.Next());
    return options;
}

struct Outcome {
    std::vector<std::string> options;
    std::string diagnostics;
};

Outcome ReadWithDiagnostics(std::vector<std::string> const& arguments) {
    testing::internal::CaptureStderr();
    auto options = Read(arguments);
    return {options, testing::internal::GetCapturedStderr()};
}

} // namespace

TEST(OptionReaderTest, NothingIsNoOption) {
    EXPECT_THAT(Read({"tool"}), ElementsAre());
    EXPECT_THAT(Read({"tool", "--"}), ElementsAre());
    EXPECT_THAT(Read({}), ElementsAre());
}

TEST(OptionReaderTest, OptionsComeInCommandLineOrder) {
    EXPECT_THAT(Read({"tool", "-x", "1", "-p", "--split", "a,b", "--extract=2", "-x3", "--ping"}),
                ElementsAre("120 1", "112", "65287 a,b", "120 2", "120 3", "112"));
    EXPECT_THAT(Read({"tool", "-ppx5"}), ElementsAre("112", "112", "120 5"));
}

TEST(OptionReaderTest, LongNameMayBeShortened) {
    EXPECT_THAT(Read({"tool", "--ex", "4"}), ElementsAre("120 4"));
}

TEST(OptionReaderTest, ArgumentMayLookLikeAnOption) {
    EXPECT_THAT(Read({"tool", "-x", "-p", "-x", "--", "--extract", ""}),
                ElementsAre("120 -p", "120 --", "120 "));
}

TEST(OptionReaderTest, OperandsAreUnknownOptionsWhereTheyStand) {
    auto const outcome = ReadWithDiagnostics({"tool", "foo", "-p", "bar", "", "-x", "1"});
    EXPECT_THAT(outcome.options, ElementsAre("63", "112", "63", "63", "120 1"));
    EXPECT_EQ(outcome.diagnostics, "tool: unexpected operand 'foo'\n"
                                   "tool: unexpected operand 'bar'\n"
                                   "tool: unexpected operand ''\n");
}

TEST(OptionReaderTest, AfterTwoDashesEverythingIsAnOperand) {
    auto const outcome = ReadWithDiagnostics({"tool", "-p", "--", "-p", "foo", "--"});
    EXPECT_THAT(outcome.options, ElementsAre("112", "63", "63", "63"));
    EXPECT_EQ(outcome.diagnostics, "tool: unexpected operand '-p'\n"
                                   "tool: unexpected operand 'foo'\n"
                                   "tool: unexpected operand '--'\n");
}

TEST(OptionReaderTest, SingleDashIsAnOperand) {
    auto const outcome = ReadWithDiagnostics({"tool", "-"});
    EXPECT_THAT(outcome.options, ElementsAre("63"));
    EXPECT_EQ(outcome.diagnostics, "tool: unexpected operand '-'\n");
}

TEST(OptionReaderTest, UnknownOptionsAreReported) {
    auto const outcome = ReadWithDiagnostics({"tool", "-z", "--what", "-p", "--ping=3"});
    EXPECT_THAT(outcome.options, ElementsAre("63", "63", "112", "63"));
    EXPECT_EQ(outcome.diagnostics, "tool: invalid option -- 'z'\n"
                                   "tool: unrecognized option '--what'\n"
                                   "tool: option '--ping' doesn't allow an argument\n");
}

TEST(OptionReaderTest, MissingArgumentsAreReported) {
    auto const outcome = ReadWithDiagnostics({"tool", "-p", "-x"});
    EXPECT_THAT(outcome.options, ElementsAre("112", "63"));
    EXPECT_EQ(outcome.diagnostics, "tool: option requires an argument -- 'x'\n");
    auto const longOutcome = ReadWithDiagnostics({"tool", "--split"});
    EXPECT_THAT(longOutcome.options, ElementsAre("63"));
    EXPECT_EQ(longOutcome.diagnostics, "tool: option '--split' requires an argument\n");
}

TEST(OptionReaderTest, ReaderRestartsAfterAnAbandonedOne) {
    CommandLine left({"tool", "-pp", "-p"});
    OptionReader abandoned(left.Argv(), left.Argc(), "p", longOptions);
    ASSERT_TRUE(abandoned.Next()); // stays within the first word
    EXPECT_THAT(Read({"tool", "-x", "1"}), ElementsAre("120 1"));
}

TEST(OptionReaderTest, MistakesAreReportedAlthoughTheyWereSwitchedOff) {
    opterr = 0;
    auto const outcome = ReadWithDiagnostics({"tool", "-z"});
    EXPECT_THAT(outcome.options, ElementsAre("63"));
    EXPECT_EQ(outcome.diagnostics, "tool: invalid option -- 'z'\n");
}

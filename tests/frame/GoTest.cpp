// Cases for the run of a whole command line.
#include "CommonCli.h"

#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>

#include "frame/CommandLine.h"

namespace {

constexpr option longOptions[] = {
    {"ping", no_argument, nullptr, 'p'},
    {"fail", no_argument, nullptr, 'f'},
    {"extract", required_argument, nullptr, 'x'},
    {"odd", no_argument, nullptr, 0xff07},
    {nullptr, 0, nullptr, 0},
};

// Prints each call. The text of a step decides how it ends.
class Tool : public CommonCli {
public:
    std::string preInit = "good";
    std::string postInit = "good";
    std::string runIt = "good";
    std::string usage = "good";

    void Usage() override { End("Usage", usage, 0); }
    unsigned int PreInit() override { return End("PreInit", preInit, 1); }
    unsigned int PostInit() override { return End("PostInit", postInit, 1); }
    unsigned int RunIt() override { return End("RunIt", runIt, 3); }

    unsigned int ProcessOption(int value, char const* argument) override {
        std::cout << "option " << value << ' ' << (argument != nullptr ? argument : "(null)")
                  << '\n';
        switch (value) {
        case 'p':
        case 0xff07:
            return 3;
        case 'x':
            return End("extract", argument, 3);
        case '?':
            Usage();
            return 2;
        default:
            return 2;
        }
    }

private:
    static unsigned int End(std::string const& step, std::string const& how, unsigned int good) {
        std::cout << step << '\n';
        if (how == "throws") {
            throw std::out_of_range(step + " threw");
        }
        if (how == "throws a number") {
            throw 7;
        }
        return how == "good" ? good : 2;
    }
};

class GoTest : public testing::Test {
protected:
    void Go(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "tool");
        CommandLine commandLine(arguments);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        result_ = tool_.Go(commandLine.Argv(), commandLine.Argc(), "pfx:", longOptions);
        out_ = testing::internal::GetCapturedStdout();
        error_ = testing::internal::GetCapturedStderr();
    }

    Tool tool_;
    unsigned int result_ = 0;
    std::string out_;
    std::string error_;
};

} // namespace

TEST_F(GoTest, EverythingRunsInOrder) {
    Go({"-p", "--extract", "good", "--odd"});
    EXPECT_EQ(out_, "PreInit\n"
                    "option 112 (null)\n"
                    "option 120 good\nextract\n"
                    "option 65287 (null)\n"
                    "PostInit\nRunIt\n");
    EXPECT_EQ(error_, "");
    EXPECT_EQ(result_, 3U);
}

TEST_F(GoTest, NoOptionShowsTheUsageAndFails) {
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{}, std::vector<std::string>{"--"}}) {
        Go(arguments);
        EXPECT_EQ(out_, "PreInit\nUsage\nPostInit\nRunIt\n");
        EXPECT_EQ(error_, "");
        EXPECT_EQ(result_, 2U);
    }
}

TEST_F(GoTest, FailedOptionDoesNotStopTheNext) {
    Go({"-f", "-p"});
    EXPECT_EQ(out_, "PreInit\noption 102 (null)\noption 112 (null)\nPostInit\nRunIt\n");
    EXPECT_EQ(error_, "");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, LaterSuccessDoesNotHideAFailure) {
    Go({"-p", "-f"});
    EXPECT_EQ(result_, 2U);
    Go({"-f", "-p", "-p"});
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, FailedPreInitDoesNotStopTheOptions) {
    tool_.preInit = "bad";
    Go({"-p"});
    EXPECT_EQ(out_, "PreInit\noption 112 (null)\nPostInit\nRunIt\n");
    EXPECT_EQ(error_, "");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, FailedPostInitDoesNotStopRunIt) {
    tool_.postInit = "bad";
    Go({"-p"});
    EXPECT_EQ(out_, "PreInit\noption 112 (null)\nPostInit\nRunIt\n");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, FailedRunItFailsTheRun) {
    tool_.runIt = "bad";
    Go({"-p"});
    EXPECT_EQ(out_, "PreInit\noption 112 (null)\nPostInit\nRunIt\n");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, ExceptionOfAnOptionIsReportedAndTheNextRuns) {
    Go({"-x", "throws", "-p"});
    EXPECT_EQ(out_, "PreInit\noption 120 throws\nextract\noption 112 (null)\nPostInit\nRunIt\n");
    EXPECT_EQ(error_, "extract threw\n");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, ExceptionsOfTheOtherStepsAreReportedToo) {
    tool_.preInit = "throws";
    tool_.postInit = "throws";
    tool_.runIt = "throws";
    Go({"-p"});
    EXPECT_EQ(out_, "PreInit\noption 112 (null)\nPostInit\nRunIt\n");
    EXPECT_EQ(error_, "PreInit threw\nPostInit threw\nRunIt threw\n");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, ExceptionOfTheUsageTextIsReported) {
    tool_.usage = "throws";
    Go({});
    EXPECT_EQ(out_, "PreInit\nUsage\nPostInit\nRunIt\n");
    EXPECT_EQ(error_, "Usage threw\n");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, ExceptionWithoutATextIsReported) {
    Go({"-x", "throws a number", "-p"});
    EXPECT_EQ(out_, "PreInit\noption 120 throws a number\nextract\noption 112 (null)\n"
                    "PostInit\nRunIt\n");
    EXPECT_EQ(error_, "unknown exception\n");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, OperandsAreUnknownOptions) {
    Go({"foo", "-p", "--", "bar"});
    EXPECT_EQ(out_, "PreInit\n"
                    "option 63 (null)\nUsage\n"
                    "option 112 (null)\n"
                    "option 63 (null)\nUsage\n"
                    "PostInit\nRunIt\n");
    EXPECT_EQ(error_, "tool: unexpected operand 'foo'\ntool: unexpected operand 'bar'\n");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, UnknownOptionsAndMissingArgumentsAreUnknownOptions) {
    Go({"-z", "--what", "-p", "-x"});
    EXPECT_EQ(out_, "PreInit\n"
                    "option 63 (null)\nUsage\n"
                    "option 63 (null)\nUsage\n"
                    "option 112 (null)\n"
                    "option 63 (null)\nUsage\n"
                    "PostInit\nRunIt\n");
    EXPECT_EQ(error_, "tool: invalid option -- 'z'\n"
                      "tool: unrecognized option '--what'\n"
                      "tool: option requires an argument -- 'x'\n");
    EXPECT_EQ(result_, 2U);
}

TEST_F(GoTest, RunCanBeRepeated) {
    for (int run = 0; run < 3; ++run) {
        Go({"-x", "good"});
        EXPECT_EQ(out_, "PreInit\noption 120 good\nextract\nPostInit\nRunIt\n");
        EXPECT_EQ(result_, 3U);
    }
}

TEST_F(GoTest, StepsThatAToolDoesNotHaveSucceed) {
    class Bare : public CommonCli {
    public:
        void Usage() override {}
        unsigned int ProcessOption(int, char const*) override { return 3; }
    } bare;
    CommandLine commandLine({"tool", "-p"});
    EXPECT_EQ(bare.Go(commandLine.Argv(), commandLine.Argc(), "p", longOptions), 3U);
    EXPECT_EQ(bare.PreInit(), 1U);
    EXPECT_EQ(bare.PostInit(), 1U);
    EXPECT_EQ(bare.RunIt(), 3U);
}

// Option --split: split an event.
#include <stdexcept>

#include "CliTest.h"
#include "fakes/Show.h"

namespace {

std::string const reid = "0123456789ABcdef:-1"; // 19 characters, the shortest that is well-formed
std::string const hint = "split parameters must be in the form 'reid,splitsize'\n";
std::string const malformed = "Malformed or misplaced REID:\n" + hint;

class SplitOptionTest : public CliTest {
protected:
    unsigned int Split(std::string const& argument) {
        return cli.ProcessOption(0xff07, argument.c_str());
    }

    static std::string Banner(std::string const& id, std::string const& size) {
        std::string const rule(95, '#');
        return "\n" + rule + "\nSubmitting Split Event request with REID: '" + id +
               "', splitsize = " + size + "\n" + rule + "\n\n";
    }
    static std::string SubmittedLine(std::string const& id, std::string const& size) {
        return "Split request submitted for REID: '" + id + "', split size = " + size + "\n";
    }
    static std::string SplitCall(std::string const& id, std::string const& size) {
        return "SplitEvent(StreamMgrCli_4711, " + Show(id) + ", " + size + ")\n";
    }

    std::string const before = platform.Calls();
};

struct SizeCase : NamedCase {
    std::string text;
    std::string announced;
    std::string handedOver;
};

class SplitSize : public SplitOptionTest, public ::testing::WithParamInterface<SizeCase> {};

TEST_P(SplitSize, IsAnnouncedAndHandedOver) {
    EXPECT_EQ(Split(reid + "," + GetParam().text), 3U);
    ExpectOutput(SubmittedLine(reid, GetParam().handedOver), Banner(reid, GetParam().announced));
    EXPECT_EQ(platform.Calls(), before + SplitCall(reid, GetParam().handedOver));
}

INSTANTIATE_TEST_SUITE_P(
    Text, SplitSize,
    ::testing::Values(SizeCase{{"Gibibytes"}, "3", "3 GiB", "3"},
                      SizeCase{{"Mebibytes"}, "512M", "512 MiB", "524288"},
                      SizeCase{{"LowerCaseIsIgnored"}, "3m", "3 GiB", "3"},
                      SizeCase{{"OtherLetterIsIgnored"}, "3G", "3 GiB", "3"},
                      SizeCase{{"LastCharacterCounts"}, "3 and M", "3 MiB", "3072"},
                      SizeCase{{"BlankAfterIt"}, "3M ", "3 GiB", "3"},
                      SizeCase{{"BlanksBeforeIt"}, " \t 3", "3 GiB", "3"},
                      SizeCase{{"SecondComma"}, "3,4", "3 GiB", "3"},
                      SizeCase{{"Negative"}, "-1", "4294967295 GiB", "4294967295"},
                      SizeCase{{"NegativeMebibytes"}, "-1M", "4294967295 MiB", "4294966272"},
                      SizeCase{{"Saturated"}, "4294967297", "2147483647 GiB", "2147483647"},
                      SizeCase{{"ShiftedOut"}, "4194304M", "4194304 MiB", "0"}),
    NameOfCase());

TEST_F(SplitOptionTest, SizeOfNothingIsRefused) {
    std::string err;
    for (char const* const size : {"0", "abc", "0M", "M", "-0", "x3"}) {
        EXPECT_EQ(Split(reid + "," + size), 2U) << size;
        err += "splitsize must be > 0\n" + hint;
    }
    ExpectOutput("", err);
    EXPECT_EQ(platform.Calls(), before);
}

TEST_F(SplitOptionTest, ArgumentWithoutACommaIsRefused) {
    EXPECT_EQ(Split(reid), 2U);
    EXPECT_EQ(Split(""), 2U);
    std::string const note = "Did not find comma:\n" + hint;
    ExpectOutput("", note + note);
    EXPECT_EQ(platform.Calls(), before);
}

TEST_F(SplitOptionTest, BlanksAroundTheIdentifierAreTrimmed) {
    EXPECT_EQ(Split(" \t" + reid + "\t , 3"), 3U);
    ExpectOutput(SubmittedLine(reid, "3"), Banner(reid, "3 GiB"));
    EXPECT_EQ(platform.Calls(), before + SplitCall(reid, "3"));
}

TEST_F(SplitOptionTest, MalformedIdentifierSpoilsTheResultButIsSent) {
    std::string out;
    std::string err;
    std::string calls = before;
    for (std::string const& id : {reid.substr(1), std::string("x"), "g" + reid, reid + " " + reid,
                                  reid + ".", reid + "\n"}) {
        EXPECT_EQ(Split(id + ",3"), 2U) << id;
        out += SubmittedLine(id, "3");
        err += malformed + Banner(id, "3 GiB");
        calls += SplitCall(id, "3");
    }
    ExpectOutput(out, err);
    EXPECT_EQ(platform.Calls(), calls);
}

TEST_F(SplitOptionTest, FailedCallIsReportedAndDoesNotChangeTheResult) {
    platform.ScriptAlways("SplitEvent", {0});
    EXPECT_EQ(Split(reid + ",3"), 3U);
    EXPECT_EQ(Split("x,3"), 2U);
    ExpectOutput("", Banner(reid, "3 GiB") + "SPLIT call FAILED\n" + malformed +
                         Banner("x", "3 GiB") + "SPLIT call FAILED\n");
}

TEST_F(SplitOptionTest, SizeThatTheServiceSettledOnIsReported) {
    platform.usedSplitSize = 4294967295U;
    EXPECT_EQ(Split(reid + ",3"), 3U);
    ExpectOutput(SubmittedLine(reid, "4294967295"), Banner(reid, "3 GiB"));
}

// An empty part is an exception that is let out.
class EmptyPart : public SplitOptionTest {
protected:
    void ExpectException(std::string const& argument, std::string const& err) {
        try {
            Split(argument);
            ADD_FAILURE() << "no exception";
        } catch (std::out_of_range const& exception) {
            EXPECT_EQ(std::string(exception.what()).rfind("basic_string::substr", 0), 0U)
                << exception.what();
        }
        ExpectOutput("", err);
        EXPECT_EQ(platform.Calls(), before);
    }
};

TEST_F(EmptyPart, BeforeTheCommaIsAnException) {
    ExpectException(",3", "");
}

TEST_F(EmptyPart, OfBlanksBeforeTheCommaIsAnException) {
    ExpectException(" \t ,3", "");
}

TEST_F(EmptyPart, AfterTheCommaIsNotedBeforeTheException) {
    ExpectException(reid + ",", "NOTE: use no spaces between reid and splitsize, or else enclose "
                                "the arguments in quotes");
}

TEST_F(EmptyPart, OfBlanksAfterTheCommaIsAnExceptionWithoutANote) {
    ExpectException(reid + ", \t", "");
}

TEST_F(EmptyPart, AfterAMalformedIdentifierIsReportedLast) {
    ExpectException("x,", malformed + "NOTE: use no spaces between reid and splitsize, or else "
                                      "enclose the arguments in quotes");
}

} // namespace

// Options -x and -X as the dispatch carries them out.
#include "CliTest.h"
#include "fakes/Errno.h"

namespace {

class ExtractOptionTest : public CliTest {
protected:
    std::string Copying(std::string const& fileName) const {
        return "Copying requested stream file to '" + platform.HardDisk(fileName) + "'\n";
    }
};

TEST_F(ExtractOptionTest, CopyEndsWithItsCountersOnStandardOutput) {
    platform.AddStreamFiles({5}, 1000);
    EXPECT_EQ(cli.ProcessOption('x', "5"), 3U);
    EXPECT_EQ(platform.Recorded().FlushedOut(),
              Copying("5.ts") + "<flush>\n<flush>Stated file length: 1000  copied: 1000\n<flush>");
    EXPECT_EQ(platform.Err(), "");
}

TEST_F(ExtractOptionTest, ShortFileIsCarriedOutWithTheSmallerCount) {
    platform.AddStreamFiles({5}, 1000);
    platform.Script("Read", 1, {400});
    EXPECT_EQ(cli.ProcessOption('x', "5"), 3U);
    ExpectOutput(Copying("5.ts") + "\nStated file length: 1000  copied: 400\n",
                 " unexpected EOF: fileSize=1000 expectedRead=1000  actualRead=400\n");
}

TEST_F(ExtractOptionTest, FailedCopyEndsWithItsCountersOnStandardError) {
    platform.AddStreamFiles({5}, 200000);
    platform.Script("Read", 2, Fail(EIO));
    EXPECT_EQ(cli.ProcessOption('x', "5"), 2U);
    ExpectOutput(Copying("5.ts"), "Unexpected read status: " + ErrnoText(EIO) +
                                      "\nStated file length: 200000  copied: 192512\n");
}

TEST_F(ExtractOptionTest, UnboundedCopyTakesTheWholeSlot) {
    platform.AddStreamFiles({5}, 0);
    platform.Script("Read", 1, Fail(EIO));
    EXPECT_EQ(cli.ProcessOption('X', "5"), 2U);
    EXPECT_NE(platform.Calls().find("file5.Read(192512, true)\n"), std::string::npos);
    ExpectOutput(Copying("5.ts"), "Unexpected read status: " + ErrnoText(EIO) +
                                      "\nStated file length: 98566144  copied: 0\n");
}

struct NumberCase {
    char const* argument;
    char const* number;
};

// Numbers that are no stream file's; the tool shows which number it understood.
class InvalidNumber : public CliTest, public ::testing::WithParamInterface<NumberCase> {};

TEST_P(InvalidNumber, IsRefusedWithTheResultLineOnStandardError) {
    for (int const option : {'x', 'X'})
        EXPECT_EQ(cli.ProcessOption(option, GetParam().argument), 2U);
    std::string const line = std::string("File number is invalid: ") + GetParam().number +
                             "\nStated file length: 0  copied: 0\n";
    ExpectOutput("", line + line);
}

INSTANTIATE_TEST_SUITE_P(Text, InvalidNumber,
                         ::testing::Values(NumberCase{"0", "0"}, NumberCase{"-3", "-3"},
                                           NumberCase{"abc", "0"}, NumberCase{"", "0"},
                                           NumberCase{"0x5", "0"}, NumberCase{"x5", "0"},
                                           NumberCase{"-2147483648", "-2147483648"},
                                           NumberCase{"-2147483649", "-2147483648"},
                                           NumberCase{"-4294967291", "-2147483648"}));

// Texts that are a number, as far as they go.
class ValidNumber : public CliTest, public ::testing::WithParamInterface<NumberCase> {};

TEST_P(ValidNumber, IsTakenAsFarAsItGoes) {
    std::string const before = platform.Calls();
    EXPECT_EQ(cli.ProcessOption('x', GetParam().argument), 2U);
    EXPECT_EQ(platform.Calls(), before +
                                    "pool.InitializeFileAccess(false, true)\n"
                                    "OpenStreamFile(" +
                                    GetParam().number + ", 0)\n");
    ExpectOutput("", "could not open stream file: 2No such file or directory\n"
                     "Stated file length: 0  copied: 0\n");
}

INSTANTIATE_TEST_SUITE_P(Text, ValidNumber,
                         ::testing::Values(NumberCase{"12abc", "12"}, NumberCase{" 7", "7"},
                                           NumberCase{"+7", "7"}, NumberCase{"010", "10"},
                                           NumberCase{"7.9", "7"}, NumberCase{"7,8", "7"},
                                           NumberCase{"2147483647", "2147483647"},
                                           NumberCase{"2147483648", "2147483647"},
                                           NumberCase{"4294967297", "2147483647"},
                                           NumberCase{"9223372036854775808", "2147483647"}));

} // namespace

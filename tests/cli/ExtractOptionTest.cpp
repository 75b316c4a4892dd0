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

// The text of an argument, and the number that is understood.
struct NumberCase {
    char const* argument;
    std::string number;
};

TEST_F(ExtractOptionTest, NumberOfNoStreamFileIsRefusedWithTheResultLineOnStandardError) {
    NumberCase const cases[] = {
        {"0", "0"},
        {"-3", "-3"},
        {"abc", "0"},
        {"", "0"},
        {"0x5", "0"},
        {"x5", "0"},
        {"-2147483648", "-2147483648"},
        {"-2147483649", "-2147483648"},
        {"-4294967291", "-2147483648"},
    };
    std::string const before = platform.Calls();
    std::string err;
    for (NumberCase const& row : cases) {
        for (char const option : {'x', 'X'}) {
            EXPECT_EQ(cli.ProcessOption(static_cast<unsigned char>(option), row.argument), 2U)
                << row.argument;
            err += "File number is invalid: " + row.number + "\nStated file length: 0  copied: 0\n";
        }
    }
    ExpectOutput("", err);
    EXPECT_EQ(platform.Calls(), before);
}

TEST_F(ExtractOptionTest, NumberIsTakenAsFarAsItGoes) {
    NumberCase const cases[] = {
        {"12abc", "12"},
        {" 7", "7"},
        {"+7", "7"},
        {"010", "10"},
        {"7.9", "7"},
        {"7,8", "7"},
        {"2147483647", "2147483647"},
        {"2147483648", "2147483647"},
        {"4294967297", "2147483647"},
        {"9223372036854775808", "2147483647"},
    };
    std::string calls = platform.Calls();
    std::string err;
    for (NumberCase const& row : cases) {
        EXPECT_EQ(cli.ProcessOption('x', row.argument), 2U) << row.argument;
        calls += "pool.InitializeFileAccess(false, true)\n"
                 "OpenStreamFile(" +
                 row.number + ", 0)\n";
        err += "could not open stream file: 2No such file or directory\n"
               "Stated file length: 0  copied: 0\n";
    }
    EXPECT_EQ(platform.Calls(), calls);
    ExpectOutput("", err);
}

} // namespace

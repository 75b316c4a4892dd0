// Values that are no option of the tool.
#include <limits>
#include <set>

#include "CliTest.h"

namespace {

// Every value that some option has.
std::set<int> KnownValues() {
    std::set<int> values;
    for (char const letter : std::string("hpqrilcsxeXyYfFdS")) {
        values.insert(letter);
    }
    for (int value = 0xff00; value <= 0xff09; ++value) {
        values.insert(value);
    }
    return values;
}

std::vector<int> UnknownValues() {
    std::vector<int> values = {std::numeric_limits<int>::min(), -0xff00, -1};
    for (int value = 0; value <= 300; ++value) {
        values.push_back(value);
    }
    for (int value = 0xfe00; value <= 0x10010; ++value) {
        values.push_back(value);
    }
    values.push_back(0x1ff00);
    values.push_back(std::numeric_limits<int>::max());
    std::erase_if(values, [known = KnownValues()](int value) { return known.count(value) != 0; });
    return values;
}

using DispatchTest = CliTest;

TEST_F(DispatchTest, ValueOfNoOptionPrintsTheUsageAndFails) {
    cli.Usage();
    std::string const usage = platform.Out();
    std::string const calls = platform.Calls();
    std::string expected = usage;
    for (int const value : UnknownValues()) {
        EXPECT_EQ(cli.ProcessOption(value, nullptr), 2U) << value;
        expected += usage;
    }
    EXPECT_TRUE(platform.Out() == expected) << "not the usage text once for each value";
    EXPECT_EQ(platform.Err(), "");
    EXPECT_EQ(platform.Calls(), calls) << "the platform was called for a value of no option";
}

TEST_F(DispatchTest, ArgumentOfAnUnknownOptionIsNotLookedAt) {
    EXPECT_EQ(cli.ProcessOption('?', "5"), 2U);
    std::string const usage = platform.Out();
    EXPECT_EQ(cli.ProcessOption(':', "5"), 2U);
    ExpectOutput(usage + usage, "");
}

} // namespace

// The command line of d2b tick.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "d2b/D2b.h"
#include "support/TemporaryDirectory.h"
#include "ts/TestStream.h"

using namespace ts_test;

namespace {

constexpr std::uint64_t second = 27000000;

using NumbersAndTimes = std::vector<std::pair<unsigned int, int>>;

class TickCommand : public testing::Test {
protected:
    TickCommand() {
        TestStream stream;
        for (std::uint64_t i = 0; i < 10; ++i) {
            stream.Add(PcrPacket(i * second / 20));
        }
        std::ofstream(Source(), std::ios::binary)
            .write(reinterpret_cast<char const*>(stream.Data().data()),
                   static_cast<std::streamsize>(stream.Data().size()));
    }

    // The exit status of d2b tick with these options before the two files.
    int Run(std::vector<std::string> options) const {
        options.insert(options.begin(), {"d2b", "tick"});
        options.insert(options.end(), {Source(), Target()});
        std::vector<char const*> argv(options.size());
        std::ranges::transform(options, argv.begin(), &std::string::c_str);
        return workstation::d2b::RunD2b(static_cast<int>(argv.size()), argv.data());
    }

    // The numbers and times of the ticks in the target.
    NumbersAndTimes Made() const {
        std::ifstream file(Target(), std::ios::binary);
        Bytes stream{std::istreambuf_iterator<char>(file), {}};
        NumbersAndTimes made;
        for (auto const& [offset, metadata] :
             TsHelper(stream).SystemTick(TsHelper::StreamSystickSystem, 0)) {
            made.emplace_back(metadata.tick, metadata.time);
        }
        return made;
    }

    void RemoveSource() const { std::filesystem::remove(Source()); }
    bool HasTarget() const { return std::filesystem::exists(Target()); }

    std::string Source() const { return directory_.Path("in.ts"); }
    std::string Target() const { return directory_.Path("out.ts"); }

private:
    TemporaryDirectory directory_;
};

TEST_F(TickCommand, GivesTwentyTicksASecond) {
    ASSERT_EQ(Run({"--first", "1000", "--time", "57"}), 0);
    EXPECT_EQ(Made(), (NumbersAndTimes{{1000, 57},
                                       {1001, 57},
                                       {1002, 57},
                                       {1003, 57},
                                       {1004, 57},
                                       {1005, 57},
                                       {1006, 57},
                                       {1007, 57},
                                       {1008, 57},
                                       {1009, 57}}));
}

TEST_F(TickCommand, TakesTheFullRangeOfNumbersAndTimesAndAnotherRate) {
    ASSERT_EQ(Run({"--first", "4294967295", "--time", "-2147483648", "--rate", "5"}), 0);
    EXPECT_EQ(Made(),
              (NumbersAndTimes{
                  {4294967295, -2147483647 - 1}, {0, -2147483647 - 1}, {1, -2147483647 - 1}}));
}

TEST_F(TickCommand, MakesGapsAndRestarts) {
    ASSERT_EQ(Run({"--first", "10", "--time", "0", "--gap", "1:2", "--gap", "8:1", "--restart",
                   "4:100", "--restart", "6:7"}),
              0);
    EXPECT_EQ(Made(),
              (NumbersAndTimes{{10, 0}, {13, 0}, {100, 0}, {101, 0}, {7, 0}, {8, 0}, {10, 0}}));
}

TEST_F(TickCommand, MisuseIsStatus2AndMakesNothing) {
    for (std::vector<std::string> const& options : std::vector<std::vector<std::string>>{
             {},
             {"--first", "1"},
             {"--time", "1"},
             {"--first", "-1", "--time", "1"},
             {"--first", "4294967296", "--time", "1"},
             {"--first", "1", "--time", "2147483648"},
             {"--first", "1", "--time", "1", "--rate", "0"},
             {"--first", "1", "--time", "1", "--rate", "1001"},
             {"--first", "1", "--time", "1", "--gap", "5"},
             {"--first", "1", "--time", "1", "--gap", "5:"},
             {"--first", "1", "--time", "1", "--gap", ":5"},
             {"--first", "1", "--time", "1", "--gap", "5:6:7"},
             {"--first", "1", "--time", "1", "--gap", "5:-6"},
             {"--first", "1", "--time", "1", "--restart", "4294967296:6"},
             {"--first", "1", "--time", "1", "--unknown"},
         }) {
        EXPECT_EQ(Run(options), 2) << testing::PrintToString(options);
        EXPECT_FALSE(HasTarget());
    }
}

TEST_F(TickCommand, FailureIsStatus1AndOneLine) {
    RemoveSource();
    testing::internal::CaptureStderr();
    EXPECT_EQ(Run({"--first", "1", "--time", "1"}), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "d2b: cannot open '" + Source() + "': No such file or directory\n");
    EXPECT_FALSE(HasTarget());
}

} // namespace

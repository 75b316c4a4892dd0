// The last lines of a command are shown without what is secret in its command line.
#include "service/recording/LastWords.h"

#include <gtest/gtest.h>

namespace {

using namespace workstation::service::recording;

using Lines = std::vector<std::string>;

TEST(LastWords, LastThreeLinesAreKept) {
    LastWords words("camera");
    EXPECT_EQ(words.Lines(), Lines());
    for (char const* const piece : {"one\ntw", "o\r", "\n\nthree\nfour\nfi", "ve"}) {
        words.Add(piece);
    }
    EXPECT_EQ(words.Lines(), Lines({"three", "four", "five"}));
    words.Add("\n");
    EXPECT_EQ(words.Lines(), Lines({"three", "four", "five"}));
    words.Clear();
    EXPECT_EQ(words.Lines(), Lines());
}

TEST(LastWords, LongLineIsShortenedAndTakesNoMemory) {
    LastWords words("camera");
    for (int i = 0; i < 1000; ++i) {
        words.Add(std::string(1000, 'x'));
    }
    EXPECT_EQ(words.Lines(), Lines({std::string(200, 'x')}));
}

TEST(LastWords, ControlCharactersAreNotShown) {
    LastWords words("camera");
    words.Add(std::string_view("a\0b\tc\x1B[31md\n", 10));
    EXPECT_EQ(words.Lines(), Lines({"a?b?c?[31m"}));
}

struct Case {
    std::string command;
    std::string line;
    std::string shown;
};

class SecretsTest : public testing::TestWithParam<Case> {};

TEST_P(SecretsTest, AreNotShown) {
    LastWords words(GetParam().command);
    words.Add(GetParam().line);
    EXPECT_EQ(words.Lines(), Lines({GetParam().shown}));
}

INSTANTIATE_TEST_SUITE_P(
    Table, SecretsTest,
    testing::Values(Case{"ffmpeg -i rtsp://joe:pw@10.0.0.5/one -f mpegts -",
                         "rtsp://joe:pw@10.0.0.5/one: Connection refused",
                         "***: Connection refused"},
                    Case{"ffmpeg -i rtsp://joe:pw@10.0.0.5/one -f mpegts -",
                         "user joe, password pw", "user ***, password ***"},
                    Case{"/usr/bin/camera --password 'hunter22'", "camera: 'hunter22' is wrong",
                         "camera: '***' is wrong"},
                    Case{"PASSWORD=hunter22 camera", "hunter22hunter22", "******"},
                    Case{"camera abc12 abc1234", "abc12345 abc12", "***5 ***"},
                    Case{"ffmpeg -loglevel error", "an error in -loglevel of ffmpeg",
                         "an *** in -loglevel of ffmpeg"}));

} // namespace

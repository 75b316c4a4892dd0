// The pictures that an exported interval shows: each has its number in it.
#include <numeric>

#include "ExportTest.h"

namespace workstation::evidence::exporting {
namespace {

constexpr int width = 160;
constexpr int height = 96;
constexpr int bitsOfNumber = 10;
constexpr int bitWidth = width / bitsOfNumber;
constexpr std::size_t frameSize = std::size_t{width} * height;

// A bit of the number is a white or a black column.
std::string Frame(unsigned int number) {
    std::string frame(frameSize, '\0');
    for (std::size_t i = 0; i < frameSize; ++i) {
        auto const column = static_cast<unsigned int>(i) % width / bitWidth;
        frame[i] = static_cast<char>((number >> column & 1U) != 0 ? 235 : 16);
    }
    return frame;
}

unsigned int NumberIn(std::string const& frames, std::size_t index) {
    unsigned int number = 0;
    for (unsigned int bit = 0; bit < bitsOfNumber; ++bit) {
        std::size_t const middle = frameSize / 2 + bit * bitWidth + bitWidth / 2;
        bool const isWhite = static_cast<unsigned char>(frames[index * frameSize + middle]) > 128;
        number |= (isWhite ? 1U : 0U) << bit;
    }
    return number;
}

int Shell(std::string const& command) {
    ChildProcess shell([&] { return Execute({"/bin/sh", "-c", command}); });
    return shell.Wait();
}

class ExportPicturesTest : public ExportTest, public testing::WithParamInterface<char const*> {};

// 24 s of 25 pictures and 20 ticks a second in three slots; a picture in 25 can be decoded alone.
TEST_P(ExportPicturesTest, ExportedIntervalShowsThePicturesThatBelongThere) {
    constexpr unsigned int frames = 600;
    constexpr unsigned int firstTick = 1000;
    std::string raw;
    for (unsigned int number = 0; number < frames; ++number) {
        raw += Frame(number);
    }
    std::ofstream(Out("raw"), std::ios::binary) << raw;
    std::string const encode =
        "ffmpeg -v error -f rawvideo -pix_fmt gray -s 160x96 -r 25 -i '" + Out("raw") +
        "' -f lavfi -i sine=sample_rate=48000 -shortest -pix_fmt yuv420p -g 25 -bf 0 " +
        GetParam() + " -c:a mp2 -f mpegts '" + Out("plain.ts") + "'";
    ASSERT_EQ(Shell(encode), 0);
    ASSERT_EQ(RunCommand({"tick", Out("plain.ts"), Out("ticked.ts"), "--first",
                          std::to_string(firstTick), "--time", "50"})
                  .status,
              0);
    std::string const stream = BytesOf(Out("ticked.ts"));
    std::size_t const part = stream.size() / 3 / 188 * 188;
    for (int slot = 0; slot < 3; ++slot) {
        auto const begin = static_cast<std::size_t>(slot) * part;
        std::vector<unsigned char> bytes(
            stream.begin() + static_cast<std::ptrdiff_t>(begin),
            slot == 2 ? stream.end() : stream.begin() + static_cast<std::ptrdiff_t>(begin + part));
        auto const ticks = TsHelper(bytes).SystemTick(TsHelper::StreamSystickSystem, 0);
        auto const& first = ticks.front().second;
        auto const& last = ticks.back().second;
        auto const id = store_.BeginFile(1, slot + 1, first.time, first.tick);
        ASSERT_TRUE(id);
        LoadSlot(root_.Pool(), slot + 1, {bytes.begin(), bytes.end()});
        store_.FinishFile(*id, static_cast<unsigned int>(bytes.size()), last.time, last.tick);
    }

    auto const outcome = Export({"--stream", "1", "--from", "@55", "--to", "@69"});
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_EQ(Manifest(Out())["pieces"].size(), 3U);
    std::string const decode = "ffmpeg -v error -i '" + Out() +
                               "' -map 0:v -fps_mode passthrough -f rawvideo -pix_fmt gray '" +
                               Out("decoded") + "' 2>'" + Out("errors") + "'";
    ASSERT_EQ(Shell(decode), 0);
    EXPECT_EQ(BytesOf(Out("errors")), "");
    std::string const decoded = BytesOf(Out("decoded"));
    std::vector<unsigned int> numbers;
    for (std::size_t i = 0; i < decoded.size() / frameSize; ++i) {
        numbers.push_back(NumberIn(decoded, i));
    }
    // The tick at 5 s stands before picture 125. The one from which a decoder can start is 100. The
    // first tick after the interval stands before picture 500.
    std::vector<unsigned int> expected(400);
    std::iota(expected.begin(), expected.end(), 100U);
    EXPECT_EQ(numbers, expected);
}

INSTANTIATE_TEST_SUITE_P(Encoder, ExportPicturesTest,
                         testing::Values("-c:v libx264 -preset ultrafast -sc_threshold 0",
                                         "-c:v mpeg2video -sc_threshold 1000000000 -q:v 3"));

} // namespace
} // namespace workstation::evidence::exporting

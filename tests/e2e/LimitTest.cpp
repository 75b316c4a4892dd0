// Sizes and offsets that 32 bits do not hold.
#include <gtest/gtest.h>

#include "Recorder.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

constexpr int fileCount = 60;                       // 5.5 GiB, nearly all of it sparse
constexpr int filesBeyond[] = {22, 23, 45, 46, 60}; // the slots across and behind 2 and 4 GiB

std::string Result(std::size_t planned, std::size_t copied) {
    return "Stated file length: " + std::to_string(planned) +
           "  copied: " + std::to_string(copied) + '\n';
}

TEST(LargePool, StreamFilesBeyondTwoAndFourGibibytesAreCopiedOut) {
    Recorder recorder;
    recorder.CreatePool(fileCount);
    for (int const number : filesBeyond) {
        recorder.Load(number, Noise(chunkSize + static_cast<std::size_t>(number)));
    }
    for (int const number : filesBeyond) {
        EXPECT_EQ(recorder.Tool({"-x", std::to_string(number)}).status, 0);
        EXPECT_TRUE(ReadFile(recorder.Extracted(number)) ==
                    Noise(chunkSize + static_cast<std::size_t>(number)))
            << number;
    }
}

TEST(LargePool, StreamFilesBeyondTwoAndFourGibibytesAreWritten) {
    constexpr std::streamoff dataOffset = 8192;
    Recorder recorder;
    recorder.CreatePool(fileCount);
    for (int const number : filesBeyond) {
        std::string const content = Noise(chunkSize + static_cast<std::size_t>(number));
        WriteFile(recorder.HardDisk() / "source.ts", content);
        EXPECT_EQ(recorder.Tool({"-y", std::to_string(number) + ",source"}).status, 0);
        EXPECT_TRUE(ReadPiece(recorder.Pool(),
                              dataOffset + (number - 1) * static_cast<std::streamoff>(slotSize),
                              content.size()) == content)
            << number;
    }
    EXPECT_EQ(recorder.PoolTool({"check"}).status, 0);
}

// A signed 32-bit length does not hold it.
TEST(LargeSource, OfTwoGibibytesAndMoreIsRefused) {
    Recorder recorder;
    recorder.CreatePool(1);
    fs::path const source = recorder.HardDisk() / "source.ts";
    WriteFile(source, "");
    for (std::uintmax_t const size :
         {0x80000000ULL, 0xFFFFFFFFULL, 0x100000000ULL, 0x140000000ULL}) {
        fs::resize_file(source, size);
        Outcome const outcome = recorder.Tool({"-y", "1,source"});
        EXPECT_EQ(outcome.status, 99) << size;
        EXPECT_EQ(outcome.err,
                  "error: fstat() failure on [" + source.string() + "]\n" + Result(0, 0));
    }
}

TEST(LargeSource, OfTheLargestSizeIsPlanned) {
    Recorder recorder;
    recorder.CreatePool(1);
    fs::path const source = recorder.HardDisk() / "source.ts";
    WriteFile(source, "");
    fs::resize_file(source, 0x7FFFFFFF);
    Outcome const outcome = recorder.Tool({"-y", "1,source"});
    EXPECT_EQ(outcome.status, 0); // though the stream file ends before
    EXPECT_NE(outcome.out.find("fstat returned a file size of 2147483647 bytes\n"),
              std::string::npos);
    EXPECT_TRUE(outcome.out.ends_with(Result(2147483647, slotSize))) << outcome;
}

} // namespace
} // namespace e2e

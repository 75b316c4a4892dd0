// Sizes and offsets that 32 bits do not hold.
#include <gtest/gtest.h>

#include "InsertEcho.h"
#include "Recorder.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

constexpr int fileCount = 60;                       // 5.5 GiB, nearly all of it sparse
constexpr int filesBeyond[] = {22, 23, 45, 46, 60}; // the slots across and after 2 and 4 GiB

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

// A sparse source for the only stream file.
class LargeSource : public testing::Test {
protected:
    LargeSource() {
        recorder.CreatePool(1);
        WriteFile(source, "");
    }

    Outcome Insert(std::uintmax_t size) const {
        fs::resize_file(source, size);
        return recorder.Tool({"-y", "1,source"});
    }

    Recorder recorder;
    fs::path const source = recorder.HardDisk() / "source.ts";
    // Up to the size.
    std::string const said = notRunning + EchoOfNumberAndName("1", "source") +
                             "Copying requested stream file from '" + source.string() +
                             "' to D2B file number 1\n";
};

// A signed 32-bit length does not hold it.
TEST_F(LargeSource, OfTwoGibibytesAndMoreIsRefused) {
    for (std::uintmax_t const size :
         {0x80000000ULL, 0xFFFFFFFFULL, 0x100000000ULL, 0x140000000ULL}) {
        EXPECT_EQ(Insert(size),
                  (Outcome{99, said,
                           "error: fstat() failure on [" + source.string() + "]\n" + Result(0, 0)}))
            << size;
    }
}

// Though the stream file ends before.
TEST_F(LargeSource, OfTheLargestSizeIsPlanned) {
    EXPECT_EQ(
        Insert(0x7FFFFFFF),
        (Outcome{0,
                 said + "fstat returned a file size of 2147483647 bytes\n" + std::string(64, '.') +
                     "\nStreamMgrApi::UpdateFileSize() notify message returned: fail\n" +
                     Result(2147483647, slotSize),
                 " unexpected EOF: fileSize=2147483647 expectedWrite=192512  "
                 "actualWrite=0\n"}));
}

} // namespace
} // namespace e2e

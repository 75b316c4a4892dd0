// How much of a pool an export reads, and how much memory the verbs take.
#include "ExportTest.h"
#include "pool/PoolLayout.h"
#include "support/PeakMemory.h"
#include "support/Sanitizers.h"

namespace workstation::evidence::exporting {
namespace {

constexpr std::uint64_t mebibyte = 1U << 20U;
constexpr unsigned int tickDistance = 332; // in packets, of a stream of 10 Mbit/s

// A full slot of stream 1, in which a decoder can start once in two seconds.
class FullSlotTest : public ExportTest {
protected:
    FullSlotTest() {
        ProgramStream stream;
        std::uint32_t tick = 1000; // of the time 50
        for (; (stream.Packets() + tickDistance) * ts::tsPacketSize <= pool::poolSlotSize; ++tick) {
            stream.Tick(tick);
            if (tick % 40 == 1) {
                stream.Pat().Pmt().KeyFrame().Video(tickDistance - 4);
            } else {
                stream.Video(tickDistance - 1);
            }
        }
        Record(1, 1, 1000, tick - 1, stream.Bytes());
    }

    // All bytes that this process has read from files so far.
    static std::uint64_t BytesRead() {
        std::ifstream io("/proc/self/io");
        std::string name;
        std::uint64_t bytes = 0;
        io >> name >> bytes;
        EXPECT_EQ(name, "rchar:");
        return bytes;
    }
};

// What is exported is read twice: from the pool, and from the file.
TEST_F(FullSlotTest, AtMostTwoMebibytesAreReadBesideWhatIsExported) {
    for (int const from : {52, 53, 69, 90, 111}) { // up to two seconds after a decoder can start
        std::string const path = Out(std::to_string(from));
        std::uint64_t const before = BytesRead();
        EXPECT_EQ(Export({"--stream", "1", "--from", "@" + std::to_string(from), "--to",
                          "@" + std::to_string(from + 9)},
                         path)
                      .status,
                  0);
        std::uint64_t const read = BytesRead() - before;
        std::uint64_t const exported = std::filesystem::file_size(path);
        EXPECT_GT(exported, 200U * tickDistance * ts::tsPacketSize);
        EXPECT_GE(read, 2 * exported);
        EXPECT_LE(read - 2 * exported, 2 * mebibyte) << from;
    }
}

TEST_F(FullSlotTest, EveryVerbTakesLessThanSixteenMebibytes) {
    if (hasAddressSanitizer || hasThreadSanitizer) {
        GTEST_SKIP() << "a sanitizer takes memory of its own";
    }
    struct {
        std::vector<std::string> arguments;
        int status;
    } const runs[] = {
        {{"list", "streams"}, 0},
        {{"scan"}, 0},
        {{"export", "--stream", "1", "--from", "@53", "--to", "@128", "-o", Out()}, 0},
        {{"export", "--slots", "1,1", "-o", Out("slots")}, 3}, // from the last tick to the first
        {{"verify", Out() + ".json", "--pool", root_.Pool()}, 0},
    };
    for (auto const& [arguments, status] : runs) {
        std::vector<std::string> words{D2B};
        words.insert(words.end(), arguments.begin(), arguments.end());
        auto const run = RunMeasured(words);
        EXPECT_EQ(run.status, status) << arguments[0];
        EXPECT_LT(run.peakMemoryKiB, 16 * 1024) << arguments[0];
    }
}

} // namespace
} // namespace workstation::evidence::exporting

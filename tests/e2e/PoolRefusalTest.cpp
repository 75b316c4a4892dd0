// Pools that the tool refuses, and how it reports them.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>

#include "BigEndian.h"
#include "Recorder.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

Outcome Refused(std::string const& complaint) {
    return {99, notRunning, complaint + "\nStated file length: 0  copied: 0\n"};
}

std::string const unknownPool =
    "Current file system is UNKNOWN, no useful information in shared memory";

TEST(PoolThat, IsMissingIsUnknown) {
    Recorder const recorder;
    EXPECT_EQ(recorder.Tool({"-x", "1"}), Refused(unknownPool));
}

TEST(PoolThat, IsInAMissingRootIsUnknown) {
    Recorder const recorder;
    fs::remove(recorder.Root());
    EXPECT_EQ(recorder.Tool({"-x", "1"}),
              (Outcome{99, notRunning,
                       "Error initializing the connection\n" + Refused(unknownPool).err}));
}

TEST(PoolThat, IsADeviceIsUnknown) {
    Recorder const recorder;
    fs::create_symlink("/dev/null", recorder.Pool());
    EXPECT_EQ(recorder.Tool({"-x", "1"}), Refused(unknownPool));
}

TEST(PoolThat, IsADirectoryIsLeftToTheCommandLine) {
    Recorder const recorder;
    auto const created = RunToEnd(recorder.PoolToolCommand({"create", "--files", "2", "--ext4"}));
    ASSERT_EQ(created.status, 0) << created;
    ASSERT_TRUE(fs::is_directory(recorder.Pool()));
    for (char const* option : {"-x", "-X"}) {
        EXPECT_EQ(recorder.Tool({option, "1"}),
                  Refused("Current file system is EXT4, use linux command line"));
    }
    EXPECT_TRUE(fs::is_empty(recorder.HardDisk()));
}

// The number is looked at before the pool.
TEST(PoolThat, IsMissingDoesNotMatterToAnInvalidNumber) {
    Recorder const recorder;
    EXPECT_EQ(recorder.Tool({"-x", "0"}), Refused("File number is invalid: 0"));
}

// --- damaged images ----------------------------------------------------------------------------

class DamagedPool : public testing::Test {
protected:
    DamagedPool() { recorder.CreatePool(2); }

    // Has the pool refused, and returns the text of the one entry in the log.
    std::string Fault() const {
        fs::remove(recorder.LogPath());
        EXPECT_EQ(recorder.Tool({"-x", "1"}),
                  Refused("can not proceed without fileAccess initialized"));
        return AfterPrefix("pool '" + recorder.Pool().string() + "': ");
    }

    // The line in the log after the time, the process and a prefix.
    std::string AfterPrefix(std::string const& prefix) const {
        std::string const log = recorder.Log();
        auto const start = log.find(": " + prefix);
        EXPECT_NE(start, std::string::npos) << log;
        EXPECT_EQ(log.find('\n'), log.size() - 1) << log;
        return start == std::string::npos
                   ? ""
                   : log.substr(start + 2 + prefix.size(), log.size() - start - prefix.size() - 3);
    }

    Recorder recorder;
};

TEST_F(DamagedPool, WithoutAHeaderPageIsRefused) {
    for (std::uintmax_t const size : {0UL, 1UL, 4095UL}) {
        fs::resize_file(recorder.Pool(), size);
        EXPECT_EQ(Fault(),
                  "not a pool image: " + std::to_string(size) + " bytes are no header page");
    }
}

TEST_F(DamagedPool, ThatIsTruncatedIsRefused) {
    constexpr std::uintmax_t wanted = 4096 + 4096 + 2 * std::uintmax_t{slotSize};
    ASSERT_EQ(fs::file_size(recorder.Pool()), wanted);
    std::string const ending = " bytes, but 2 stream files take " + std::to_string(wanted);

    fs::resize_file(recorder.Pool(), wanted - 1);
    EXPECT_EQ(Fault(), "truncated: " + std::to_string(wanted - 1) + ending);
    fs::resize_file(recorder.Pool(), 4096);
    EXPECT_EQ(Fault(), "truncated: 4096" + ending);
}

TEST_F(DamagedPool, WithBytesAfterTheEndIsRefused) {
    auto const wanted = fs::file_size(recorder.Pool());
    fs::resize_file(recorder.Pool(), wanted + 1);
    EXPECT_EQ(Fault(), "too long: " + std::to_string(wanted + 1) +
                           " bytes, but 2 stream files take " + std::to_string(wanted));
}

TEST_F(DamagedPool, WithALengthBeyondTheSlotIsRefusedForThatFileOnly) {
    constexpr std::streamoff lengthOfFile1 = 4096 + 12;
    std::string length(4, '\0');
    workstation::PutBig32(reinterpret_cast<unsigned char*>(length.data()), slotSize + 1);
    recorder.Load(2, Noise(1000));
    WritePiece(recorder.Pool(), lengthOfFile1, length);
    EXPECT_EQ(recorder.Tool({"-x", "1"}),
              Refused("could not open stream file: 117Structure needs cleaning"));
    EXPECT_EQ(AfterPrefix("stream file 1: "),
              "stated length 98566145 is beyond the slot of 98566144 bytes");
    EXPECT_EQ(recorder.Tool({"-x", "2"}).status, 0);
}

// The header: its fields one after the other, the last a CRC-32 of all before it.
constexpr std::size_t checksumOffset = 36;
using Header = std::array<unsigned char, checksumOffset + 4>;

std::uint32_t Crc32(unsigned char const* bytes, std::size_t size) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320 : 0);
        }
    }
    return ~crc;
}

struct Damage {
    char const* field;
    std::size_t lastByte; // which is changed in its lowest bit
    char const* fault;    // when the checksum is right
};

void PrintTo(Damage const& damage, std::ostream* stream) {
    *stream << damage.field;
}

class DamagedHeader : public DamagedPool, public testing::WithParamInterface<Damage> {
protected:
    Header ReadHeader() const {
        Header header{};
        std::string const start = ReadPiece(recorder.Pool(), 0, header.size());
        std::copy(start.begin(), start.end(), header.begin());
        return header;
    }

    void WriteHeader(Header const& header) const {
        WritePiece(recorder.Pool(), 0, std::string(header.begin(), header.end()));
    }
};

TEST_P(DamagedHeader, IsRefusedByItsChecksum) {
    Header header = ReadHeader();
    header[GetParam().lastByte] ^= 1U;
    WriteHeader(header);
    std::string const fault = Fault();
    EXPECT_TRUE(
        fault.starts_with(GetParam().lastByte < 8 ? GetParam().fault : "header checksum 0x"))
        << fault;
}

TEST_P(DamagedHeader, WithARightChecksumIsRefusedByItsField) {
    Header header = ReadHeader();
    header[GetParam().lastByte] ^= 1U;
    workstation::PutBig32(header.data() + checksumOffset, Crc32(header.data(), checksumOffset));
    WriteHeader(header);
    EXPECT_EQ(Fault(), GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(
    Pool, DamagedHeader,
    testing::Values(Damage{"magic number", 7, "not a pool image: the magic number is missing"},
                    Damage{"version", 11, "format version is 0, not 1"},
                    Damage{"file count", 15,
                           "truncated: 197140480 bytes, but 3 stream files take 295706624"},
                    Damage{"slot size", 19, "slot size is 98566145, not 98566144"},
                    Damage{"table offset", 23, "table offset is 4097, not 4096"},
                    Damage{"entry size", 27, "entry size is 17, not 16"},
                    Damage{"data offset", 35, "data offset is 8193, not 8192"}));

} // namespace
} // namespace e2e

// d2b scan: what it prints, its exit status, and that it changes nothing.
#include <cstdlib>

#include <nlohmann/json.hpp>

#include <bitstream/mpeg/ts.h>

#include "CommandRun.h"
#include "pool/PoolImage.h"
#include "support/Files.h"
#include "support/Snapshot.h"
#include "support/TestRoot.h"
#include "ts/TestStream.h"

using namespace workstation;

namespace {

// Two ticks with three packets after each; the second tick has the time 51.
std::string Clip() {
    ts_test::TestStream stream;
    unsigned char counter = 0;
    for (unsigned int const tick : {1019U, 1020U}) {
        stream.Tick(tick);
        for (int i = 0; i < 3; ++i) {
            auto packet = ts_test::MediaPacket();
            ts_set_cc(packet.data(), counter++);
            stream.Add(packet);
        }
    }
    return {stream.Data().begin(), stream.Data().end()};
}

class ScanCommandTest : public testing::Test {
protected:
    ScanCommandTest() {
        setenv("TZ", "UTC", 1);
        root_.MakePool(4);
        Load(1, Clip());
        Load(3, Clip());
    }
    ~ScanCommandTest() override { unsetenv("TZ"); }

    void Load(int slot, std::string const& bytes) const { LoadSlot(root_.Pool(), slot, bytes); }

    // Writes over bytes of a slot.
    void Damage(int slot, std::size_t offset, std::string const& bytes) const {
        auto const image = pool::PoolImage::Open(root_.Pool());
        WriteBytes(root_.Pool(), bytes, image->SlotOffset(slot) + offset);
    }

    static Outcome Scan(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "scan");
        return RunCommand(arguments);
    }

    static void Expect(int status, std::string const& out, std::string const& err,
                       std::vector<std::string> const& arguments) {
        auto const outcome = Scan(arguments);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.out, out);
        EXPECT_EQ(outcome.err, err);
    }

    TestRoot root_;
};

std::string const sound = "1504 bytes, 8 packets, 2 ticks (1019 to 1020), 1970-01-01 00:00:50 UTC "
                          "to 1970-01-01 00:00:51 UTC, 0.12 Mbit/s, no fault\n";

TEST_F(ScanCommandTest, SoundPoolHasALineForEachSlotWithData) {
    Expect(0, "slot 1: " + sound + "slot 3: " + sound, "", {});
}

TEST_F(ScanCommandTest, SlotsAreThoseAskedForEachOnce) {
    Expect(0, "slot 2: 0 bytes, 0 packets, no ticks, no fault\nslot 3: " + sound, "",
           {"3", "2", "3"});
}

TEST_F(ScanCommandTest, EmptyPoolIsSound) {
    root_.MakePool(2);
    Expect(0, "", "", {});
    Expect(0, "{\"slots\":[],\"faults\":0}\n", "", {"--json"});
}

TEST_F(ScanCommandTest, DamageHasALineForEachFaultAndStatusThree) {
    Damage(3, 5 * 188, std::string(188, '\0'));
    Expect(3,
           "slot 3: zeros at byte 940: 188 bytes, after 1970-01-01 00:00:51 UTC\n"
           "slot 3: continuity at byte 1128: PID 256, 1 packet missing (modulo 16), after "
           "1970-01-01 00:00:51 UTC\n"
           "slot 1: " +
               sound +
               "slot 3: 1504 bytes, 7 packets, 2 ticks (1019 to 1020), 1970-01-01 00:00:50 UTC to "
               "1970-01-01 00:00:51 UTC, 0.12 Mbit/s, 2 faults\n",
           "", {});
}

TEST_F(ScanCommandTest, JsonIsWholeAndFitsItsSchema) {
    Damage(1, 0, std::string(188, '\x01'));
    Damage(3, 5 * 188, std::string(188, '\0'));
    auto const outcome = Scan({"1", "2", "3", "--json"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "");
    auto const none = nlohmann::json();
    nlohmann::json const expected = {{"slots",
                                      {{{"slot", 1},
                                        {"bytes", 1504},
                                        {"packets", 7},
                                        {"ticks", 1},
                                        {"first_tick", 1020},
                                        {"last_tick", 1020},
                                        {"from", 51},
                                        {"to", 51},
                                        {"bits_per_second", none},
                                        {"faults",
                                         {{{"kind", "sync"},
                                           {"offset", 0},
                                           {"bytes", 188},
                                           {"pid", none},
                                           {"missing", none},
                                           {"time", none}}}}},
                                       {{"slot", 2},
                                        {"bytes", 0},
                                        {"packets", 0},
                                        {"ticks", 0},
                                        {"first_tick", none},
                                        {"last_tick", none},
                                        {"from", none},
                                        {"to", none},
                                        {"bits_per_second", none},
                                        {"faults", nlohmann::json::array()}},
                                       {{"slot", 3},
                                        {"bytes", 1504},
                                        {"packets", 7},
                                        {"ticks", 2},
                                        {"first_tick", 1019},
                                        {"last_tick", 1020},
                                        {"from", 50},
                                        {"to", 51},
                                        {"bits_per_second", 120320},
                                        {"faults",
                                         {{{"kind", "zeros"},
                                           {"offset", 940},
                                           {"bytes", 188},
                                           {"pid", none},
                                           {"missing", none},
                                           {"time", 51}},
                                          {{"kind", "continuity"},
                                           {"offset", 1128},
                                           {"bytes", 188},
                                           {"pid", 256},
                                           {"missing", 1},
                                           {"time", 51}}}}}}},
                                     {"faults", 3}};
    EXPECT_EQ(nlohmann::json::parse(outcome.out), expected) << outcome.out;

    EXPECT_TRUE(FitsSchema(outcome.out, SCAN_SCHEMA));
}

TEST_F(ScanCommandTest, MapCoversTheImage) {
    Damage(3, 5 * 188, std::string(188, '\0'));
    std::string const map = root_.Path() + "/map";
    EXPECT_EQ(Scan({"1", "3", "--map", map}).status, 3);
    EXPECT_EQ(BytesOf(map), "# Mapfile of a pool image\n"
                            "# current_pos  current_status  current_pass\n"
                            "0x00000000     +               1\n"
                            "#      pos        size  status\n"
                            "0x00000000  0x000025E0  +\n"
                            "0x000025E0  0x0BBFFA20  ?\n"
                            "0x0BC02000  0x000003AC  +\n"
                            "0x0BC023AC  0x000000BC  -\n"
                            "0x0BC02468  0x00000178  +\n"
                            "0x0BC025E0  0x0BBFFA20  ?\n");
}

TEST_F(ScanCommandTest, ImageMayLieAnywhere) {
    std::string const elsewhere = root_.Path() + "/copy";
    std::filesystem::rename(root_.Pool(), elsewhere);
    Expect(0, "slot 1: " + sound + "slot 3: " + sound, "", {"--pool", elsewhere});
    Expect(1, "", "d2b: cannot open '" + root_.Pool() + "': No such file or directory\n", {});
}

TEST_F(ScanCommandTest, DamagedHeaderIsReportedAndTheSlotsAreScanned) {
    WriteBytes(root_.Pool(), "x", 0);
    Expect(3, "slot 1: " + sound + "slot 3: " + sound,
           "d2b: pool '" + root_.Pool() + "': not a pool image: the magic number is missing\n", {});
}

TEST_F(ScanCommandTest, WhatATruncatedImageLostCannotBeRead) {
    std::uint64_t const slotBegin = pool::PoolImage::Open(root_.Pool())->SlotOffset(3);
    std::filesystem::resize_file(root_.Pool(), slotBegin + 5 * 188);
    auto const outcome = Scan({"3"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out,
              "slot 3: unreadable at byte 940: 564 bytes, after 1970-01-01 00:00:51 UTC\n"
              "slot 3: 1504 bytes, 5 packets, 2 ticks (1019 to 1020), 1970-01-01 00:00:50 UTC to "
              "1970-01-01 00:00:51 UTC, 0.12 Mbit/s, 1 fault\n");
    EXPECT_EQ(outcome.err, "d2b: pool '" + root_.Pool() +
                               "': truncated: " + std::to_string(slotBegin + 940) +
                               " bytes, but 4 stream files take 394272768\n");
}

TEST_F(ScanCommandTest, WhatIsNoPoolOrNoSlotIsRefused) {
    Expect(1, "", "d2b: stream file 5: the pool has no such file; it has 4\n", {"1", "5"});
    Expect(1, "", "d2b: stream file 0: the pool has no such file; it has 4\n", {"0"});
    Expect(1, "", "d2b: '" + root_.Path() + "' is not a pool image\n", {"--pool", root_.Path()});
    EXPECT_EQ(Scan({"--progress", "--no-progress"}).status, 2);
    EXPECT_EQ(Scan({"one"}).status, 2);
    EXPECT_EQ(Scan({"--map", root_.Path() + "/missing/map"}).status, 1);
}

// The header, the table of files and the start of the first slot.
std::string FirstBytes(std::string const& path) {
    std::string bytes(4 * std::size_t{4096}, '\0');
    std::ifstream(path, std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

TEST_F(ScanCommandTest, ChangesNothing) {
    Damage(3, 5 * 188, std::string(188, '\0'));
    auto const bytes = FirstBytes(root_.Pool());
    auto const before = Snapshot(root_.Path());
    EXPECT_EQ(Scan({}).status, 3);
    EXPECT_EQ(Scan({"--json"}).status, 3);
    EXPECT_EQ(Snapshot(root_.Path()), before);
    EXPECT_EQ(FirstBytes(root_.Pool()), bytes);
}

} // namespace

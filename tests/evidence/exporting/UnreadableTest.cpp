// What d2b scan, export and verify make of a pool on a disk that cannot read some bytes.
#include "ExportTest.h"
#include "support/Sanitizers.h"

namespace workstation::evidence::exporting {
namespace {

constexpr std::uint64_t pageSize = 4096;
constexpr int slot = 3;
constexpr std::uint64_t lostFrom = 5 * pageSize; // in the slot
constexpr std::uint64_t lostBytes = 2 * pageSize;

class UnreadableTest : public ExportTest {
protected:
    void SetUp() override {
        if (hasAddressSanitizer || hasThreadSanitizer) {
            GTEST_SKIP() << "a sanitizer reads and writes by functions of its own";
        }
        RecordThreeSlots();
        std::ofstream(directory_.Path("faults")) << '\1'; // reading fails
    }

    // Runs the tool where the bytes of the slot cannot be read.
    Outcome Run(std::vector<std::string> const& arguments) const {
        return Run(arguments, root_.Pool(),
                   pool::PoolImage::Open(root_.Pool())->SlotOffset(slot) + lostFrom);
    }

    // Runs the tool where bytes of the files with such paths cannot be read.
    Outcome Run(std::vector<std::string> const& arguments, std::string const& files,
                std::uint64_t from) const {
        std::string const range = std::to_string(from) + "-" + std::to_string(from + lostBytes);
        std::vector<std::string> words{D2B};
        words.insert(words.end(), arguments.begin(), arguments.end());
        ChildProcess tool([&] {
            setenv("STREAMMGR_FAULTY_BYTES", range.c_str(), 1);
            setenv("STREAMMGR_FAULTY_FILES", files.c_str(), 1);
            setenv("STREAMMGR_FAULTS", directory_.Path("faults").c_str(), 1);
            setenv("LD_PRELOAD", FAULTY_DISK_PATH, 1);
            freopen(directory_.Path("stdout").c_str(), "w", stdout);
            freopen(directory_.Path("stderr").c_str(), "w", stderr);
            return Execute(words);
        });
        int const status = tool.Wait();
        return {status, BytesOf(directory_.Path("stdout")), BytesOf(directory_.Path("stderr"))};
    }
};

TEST_F(UnreadableTest, ScanGoesOnAfterIt) {
    auto const outcome = Run({"scan", "--json"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(FitsSchema(outcome.out, SCAN_SCHEMA));
    auto const slots = nlohmann::json::parse(outcome.out)["slots"];
    ASSERT_EQ(slots.size(), 3U);
    EXPECT_EQ(slots[0]["faults"], nlohmann::json::array());
    EXPECT_EQ(slots[2]["faults"], nlohmann::json::array());
    auto const& faults = slots[1]["faults"];
    ASSERT_FALSE(faults.empty());
    EXPECT_EQ(faults[0]["kind"], "unreadable");
    EXPECT_EQ(faults[0]["offset"], lostFrom);
    EXPECT_EQ(faults[0]["bytes"], lostBytes);
    for (std::size_t i = 1; i < faults.size(); ++i) {
        EXPECT_THAT(faults[i]["kind"], testing::AnyOf("continuity", "tick"));
    }
    std::size_t const firstLost = lostFrom / ts::tsPacketSize;
    std::size_t const lastLost = (lostFrom + lostBytes - 1) / ts::tsPacketSize;
    EXPECT_EQ(slots[1]["packets"], 100 * packetsOfTick - (lastLost - firstLost + 1));
    EXPECT_EQ(slots[1]["last_tick"], 1199);
}

TEST_F(UnreadableTest, ExportHasZerosThereAndNamesThem) {
    auto const outcome =
        Run({"export", "--stream", "1", "--from", "@50", "--to", "@64", "-o", Out()});
    EXPECT_EQ(outcome.status, 3);
    std::size_t const place = 100 * bytesOfTick + lostFrom;
    EXPECT_TRUE(BytesOf(Out()) == std::string(bytes_).replace(place, lostBytes, lostBytes, '\0'));
    auto const manifest = Manifest(Out());
    EXPECT_EQ(manifest["complete"], false);
    ASSERT_FALSE(manifest["faults"].empty());
    auto const& fault = manifest["faults"][0];
    EXPECT_EQ(fault["kind"], "unreadable");
    EXPECT_EQ(fault["slot"], slot);
    EXPECT_EQ(fault["offset"], lostFrom);
    EXPECT_EQ(fault["bytes"], lostBytes);
    EXPECT_EQ(fault["output_offset"], place);
    EXPECT_EQ(Run({"verify", Out() + ".json", "--pool", root_.Pool()}).status, 0);
    EXPECT_EQ(RunCommand({"verify", Out() + ".json", "--pool", root_.Pool()}).status, 3);
}

TEST_F(UnreadableTest, FileThatCannotBeReadAgainIsNotLeft) {
    std::filesystem::create_directory(Out("new"));
    std::string const path = Out("new/out.ts");
    EXPECT_EQ(Run({"export", "--slots", "2,3", "-o", path}, Out("new"), bytesOfTick),
              (Outcome{1, "", "d2b: '" + path + "' does not hold what was written to it\n"}));
    EXPECT_TRUE(std::filesystem::is_empty(Out("new")));
}

} // namespace
} // namespace workstation::evidence::exporting

// d2b verify: what it reports of changed files and of invalid manifests.
#include "ExportTest.h"

namespace workstation::evidence::exporting {
namespace {

class VerifyCommandTest : public ExportTest {
protected:
    VerifyCommandTest() {
        RecordThreeSlots();
        EXPECT_EQ(Export({"--slots", "2,3"}).status, 0);
    }

    Outcome Verify(std::vector<std::string> const& more = {}) const {
        std::vector<std::string> arguments{"verify", Out() + ".json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunCommand(arguments);
    }

    std::vector<std::string> Mismatches(std::vector<std::string> more = {}) const {
        more.emplace_back("--json");
        auto const outcome = Verify(more);
        EXPECT_TRUE(FitsSchema(outcome.out, VERIFY_SCHEMA)) << outcome.out;
        auto const document = nlohmann::json::parse(outcome.out);
        std::vector<std::string> kinds;
        for (auto const& mismatch : document["mismatches"]) {
            auto const& slot = mismatch["slot"];
            kinds.push_back(mismatch["kind"].get<std::string>() +
                            (slot.is_null() ? "" : " " + slot.dump()));
        }
        EXPECT_EQ(document["verified"], kinds.empty());
        EXPECT_EQ(outcome.status, kinds.empty() ? 0 : 3);
        return kinds;
    }
};

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(VerifyCommandTest, FileAsItWasIsVerified) {
    EXPECT_EQ(
        Verify({"--pool", root_.Pool()}),
        (Outcome{0, Out() + ": as exported, 2 pieces, compared with the pool, no difference\n",
                 ""}));
    EXPECT_THAT(Mismatches(), IsEmpty());
    std::filesystem::remove(Out() + ".sha256");
    EXPECT_THAT(Mismatches(), IsEmpty());
}

TEST_F(VerifyCommandTest, FlippedByteIsNamedWithItsPiece) {
    std::size_t const place = 150 * bytesOfTick;
    WriteBytes(Out(), "x", place);
    EXPECT_EQ(Verify(), (Outcome{3,
                                 Out() + ": has another SHA-256 than the manifest says\n" + Out() +
                                     ": not as exported: " + std::to_string(100 * bytesOfTick) +
                                     " bytes from byte " + std::to_string(100 * bytesOfTick) +
                                     ", exported from slot 3 at byte 0\n" + Out() +
                                     ": not as exported, 2 pieces, 2 differences\n",
                                 ""}));
    EXPECT_THAT(Mismatches(), ElementsAre("sha256", "piece 3"));
}

TEST_F(VerifyCommandTest, OtherLengthsAreNamed) {
    auto const size = std::filesystem::file_size(Out());
    std::filesystem::resize_file(Out(), size + 1);
    EXPECT_THAT(Mismatches(), ElementsAre("bytes"));
    std::filesystem::resize_file(Out(), 100 * bytesOfTick);
    EXPECT_THAT(Mismatches(), ElementsAre("bytes", "piece 3"));
    std::filesystem::resize_file(Out(), 0);
    EXPECT_THAT(Mismatches(), ElementsAre("bytes", "piece 2", "piece 3"));
}

TEST_F(VerifyCommandTest, ChecksumFileIsCompared) {
    WriteBytes(Out() + ".sha256", "0000", 0);
    EXPECT_THAT(Mismatches(), ElementsAre("checksum_file"));
}

TEST_F(VerifyCommandTest, PoolThatWasRecordedOverIsNamed) {
    WriteBytes(root_.Pool(), "x", pool::PoolImage::Open(root_.Pool())->SlotOffset(2) + 1000);
    EXPECT_THAT(Mismatches({"--pool", root_.Pool()}), ElementsAre("pool 2"));
    EXPECT_THAT(Mismatches(), IsEmpty());
}

TEST_F(VerifyCommandTest, WhatIsMissingOrMisusedIsRefused) {
    EXPECT_EQ(RunCommand({"verify"}).status, 2);
    EXPECT_EQ(RunCommand({"verify", Out("missing.json")}),
              (Outcome{1, "", "d2b: cannot read '" + Out("missing.json") + "'\n"}));
    std::filesystem::remove(Out());
    EXPECT_EQ(Verify(),
              (Outcome{1, "", "d2b: cannot open '" + Out() + "': No such file or directory\n"}));
}

// What is changed in a manifest, and what is said about it.
TEST_F(VerifyCommandTest, ManifestThatIsNoneIsRefusedWithItsFirstFault) {
    using nlohmann::json;
    auto const original = json::parse(BytesOf(Out() + ".json"));
    struct {
        char const* place;
        json value;
        char const* fault;
    } const changes[] = {
        {"/program", "other", "it is from another program"},
        {"/version", 1, "it has no right version"},
        {"/extra", 1, "it has a member too many"},
        {"/asked", nullptr, "asked is not an object"},
        {"/asked/stream", 5, "asked has no right stream"},
        {"/held/ticks", 0, "held has no right from"},
        {"/held/to", nullptr, "held has no right to"},
        {"/output/name", "../out.ts", "output has a name that is not one of a file"},
        {"/output/bytes", -1, "output has no right bytes"},
        {"/output/bytes", 1, "it has pieces of"},
        {"/output/sha256", "ABC", "output has no right sha256"},
        {"/pieces", json::array(), "it has no right pieces"},
        {"/pieces/0/slot", 0, "piece 1 has no right slot"},
        {"/pieces/1/offset", 98566144, "piece 2 has no right offset"},
        {"/pieces/1/bytes", 18446744073709551615U, "piece 2 has no right bytes"},
        {"/gaps", json{{{"after_tick", 1}}}, "a gap has no before_tick"},
        {"/faults", json{1}, "a fault is not an object"},
        {"/faults", nullptr, "it has no right faults"},
        {"/complete", "yes", "it has no right complete"},
    };
    for (auto const& change : changes) {
        json manifest = original;
        manifest[json::json_pointer(change.place)] = change.value;
        std::ofstream(Out() + ".json") << manifest;
        auto const outcome = Verify();
        EXPECT_EQ(outcome.status, 1) << change.place;
        EXPECT_TRUE(
            outcome.err.starts_with("d2b: '" + Out() + ".json' is not a manifest: " + change.fault))
            << outcome.err;
    }
    std::ofstream(Out() + ".json") << "{\"program\":";
    EXPECT_EQ(Verify().err, "d2b: '" + Out() + ".json' is not a manifest: it is not JSON\n");
}

} // namespace
} // namespace workstation::evidence::exporting

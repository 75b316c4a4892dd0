// Stream files that are written by hand, and pools that are made or repaired, just before the end.
#include "powercut/Cut.h"

namespace powercut {
namespace {

namespace fs = std::filesystem;

// The words of a file's entry in the table.
constexpr std::streamoff tableOffset = 4096;
constexpr std::streamoff lengthOffset = 12;

class TransferCut : public Cut {
protected:
    // Contents of different length, none the beginning of another.
    TransferCut()
        : contents_{e2e::Noise(3000000), e2e::Noise(5000000), e2e::Noise(4000000)} {}

    // Stream file 3 holds the first of them.
    void LoadFirst() {
        recorder.Load(3, contents_[0]);
        Sync();
        expected.contents[3].whole = {contents_[0]};
    }

    // Writes the contents over file 3, one after the other, until the cut.
    template <typename Write>
    void CutWhileWriting(Write write) {
        std::size_t next = 1;
        auto former = static_cast<std::uint32_t>(contents_[0].size());
        CutAt(In(50, 1500), [&] {
            Contents& file = expected.contents[3];
            std::string const& content = contents_[next];
            file.whole.insert(content);
            file.overwrittenLength = former;
            if (write(next)) {
                file = {{content}, {}};
                former = static_cast<std::uint32_t>(content.size());
                next = (next + 1) % contents_.size();
            }
        });
    }

    fs::path Source(std::size_t index) const {
        return recorder.HardDisk() / ("source" + std::to_string(index) + ".ts");
    }
    void WriteSources() const {
        for (std::size_t index = 0; index < contents_.size(); ++index) {
            e2e::WriteFile(Source(index), contents_[index]);
        }
    }

    std::vector<std::string> contents_;
};

TEST_P(TransferCut, WhileFilesAreInsertedByName) {
    CreatePool(3);
    LoadFirst();
    WriteSources();
    StartRecording({{1}});
    CutWhileWriting([&](std::size_t index) {
        return Tool({"-y", "3,source" + std::to_string(index)}).status == 0;
    });
    ExpectRecovery({{1}});
}

// The file has a row in the database, which follows its length.
TEST_P(TransferCut, WhileARecordedFileIsInsertedByName) {
    CreatePool(4);
    RecordBriefly({{2, cameraRate, true}, {3, cameraRate, true}, {4, cameraRate, true}});
    Sync();
    WriteSources();
    StartRecording({{1}});
    ASSERT_EQ(Tool({"-y", "3,source0"}).status, 0);
    expected.contents[3].whole = {contents_[0]};
    CutWhileWriting([&](std::size_t index) {
        return Tool({"-y", "3,source" + std::to_string(index)}).status == 0;
    });
    ExpectRecovery({});
}

TEST_P(TransferCut, WhileFilesAreLoaded) {
    CreatePool(3);
    LoadFirst();
    WriteSources();
    CutWhileWriting([&](std::size_t index) {
        return PoolTool({"load", "3", Source(index)}).status == 0;
    });
    ExpectRecovery({{1}});
}

TEST_P(TransferCut, WhileALengthIsSet) {
    CreatePool(3);
    LoadFirst();
    std::size_t length = contents_[0].size();
    CutAt(In(10, 500), [&] {
        Contents& file = expected.contents[3];
        std::string const next = contents_[0].substr(0, length -= 188);
        file.whole.insert(next);
        if (PoolTool({"set", "3", "--length", std::to_string(length)}).status == 0) {
            file.whole = {next};
        }
    });
    ExpectRecovery({{1}});
}

TEST_P(TransferCut, AfterAPoolWasMade) {
    recorder.CreatePool(3);
    CutAt(Clock::now());
    ASSERT_TRUE(fs::exists(recorder.Pool()));
    EXPECT_EQ(PoolBytes(recorder.Pool()).FileCount(), 3);
    ExpectRecovery({{1}});
}

TEST_P(TransferCut, AfterAPoolWasMadeInThePlaceOfAnother) {
    CreatePool(3);
    recorder.Load(1, contents_[0]);
    Sync();
    ASSERT_EQ(PoolTool({"create", "--files", "2", "--force"}).status, 0);
    CutAt(Clock::now());
    EXPECT_EQ(PoolBytes(recorder.Pool()).FileCount(), 2);
    ExpectRecovery({{1}});
}

TEST_P(TransferCut, AfterALoad) {
    CreatePool(3);
    recorder.Load(3, contents_[1]);
    CutAt(Clock::now());
    expected.contents[3].whole = {contents_[1]};
    ExpectRecovery({{1}});
}

TEST_P(TransferCut, AfterARepair) {
    CreatePool(3);
    LoadFirst();
    e2e::WritePiece(recorder.Pool(), tableOffset + lengthOffset, "\x7F\xFF\xFF\xFF");
    Sync();
    ASSERT_EQ(PoolTool({"check", "--repair"}).status, 0);
    CutAt(Clock::now());
    EXPECT_EQ(PoolBytes(recorder.Pool()).Entry(1).length, e2e::slotSize);
    expected.contents[1].whole = {std::string(e2e::slotSize, '\0')};
    ExpectRecovery({});
}

INSTANTIATE_TEST_SUITE_P(, TransferCut, testing::Values(Loss::power, Loss::process), NameOfLoss);

} // namespace
} // namespace powercut

// Loss and recovery of sync are reported, without flooding the log.
#include "service/recording/SyncReport.h"

#include <gtest/gtest.h>

namespace {

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::recording;

using Lines = std::vector<std::string>;

class SyncReportTest : public testing::Test {
protected:
    void Update(std::uint64_t losses, std::uint64_t droppedBytes, bool isInSync) {
        counts_ = {0, droppedBytes, losses};
        report_.Update(counts_, isInSync, now_);
    }

    RecordingClock::Time now_;
    SyncCounts counts_;
    Lines lines_;
    SyncReport report_{
        [this](std::string const& text, workstation::log::Severity) { lines_.push_back(text); }};
};

TEST_F(SyncReportTest, GoodStreamIsNotWorthALine) {
    Update(0, 0, false);
    Update(0, 0, true);
    Update(0, 0, true);
    report_.Finish(counts_);
    EXPECT_EQ(lines_, Lines());
}

TEST_F(SyncReportTest, BytesBeforeTheFirstPacketAreReported) {
    Update(0, 1000, false);
    Update(0, 1500, true);
    EXPECT_EQ(lines_, Lines({"found sync, 1500 bytes dropped"}));
}

TEST_F(SyncReportTest, LossAndRecoveryAreReported) {
    Update(0, 0, true);
    Update(1, 100, false);
    Update(1, 300, false);
    Update(1, 350, true);
    EXPECT_EQ(lines_, Lines({"lost sync, 100 bytes dropped", "found sync, 250 bytes dropped"}));
}

TEST_F(SyncReportTest, LossThatIsOverAlreadyIsOneLine) {
    Update(0, 0, true);
    Update(2, 188, true);
    EXPECT_EQ(lines_, Lines({"lost sync 2 times and found it again, 188 bytes dropped"}));
}

TEST_F(SyncReportTest, ManyLossesAreOneLineInTenSeconds) {
    Update(0, 0, true);
    for (std::uint64_t i = 1; i <= 25; ++i) {
        Update(i, i * 10, true);
        now_ += std::chrono::seconds(1);
    }
    EXPECT_EQ(lines_, Lines({"lost sync and found it again, 10 bytes dropped",
                             "lost sync 10 times and found it again, 100 bytes dropped",
                             "lost sync 10 times and found it again, 100 bytes dropped"}));
    report_.Finish(counts_);
    EXPECT_EQ(lines_.back(), "lost sync 4 times, 40 bytes dropped");
    EXPECT_EQ(lines_.size(), 4U);
}

// Such as datagrams of something else on the same port.
TEST_F(SyncReportTest, NoiseIsOneLineAMinute) {
    Update(0, 0, true);
    for (std::uint64_t second = 0; second < 150; ++second) {
        Update(0, second * 10, true);
        now_ += std::chrono::seconds(1);
    }
    EXPECT_EQ(lines_, Lines({"610 bytes of noise in a minute, dropped",
                             "610 bytes of noise in a minute, dropped"}));
}

TEST_F(SyncReportTest, NoiseThatALineAboutALossCountsIsNotCountedAgain) {
    Update(0, 0, true);
    Update(0, 10, true);
    Update(1, 30, true);
    now_ += std::chrono::minutes(2);
    Update(1, 30, true);
    EXPECT_EQ(lines_, Lines({"lost sync and found it again, 30 bytes dropped"}));
}

} // namespace

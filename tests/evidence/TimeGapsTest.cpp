// Where a recording was interrupted within a slot.
#include "evidence/TimeGaps.h"

#include <gmock/gmock.h>

#include "TestSlot.h"
#include "TsHelper.h"
#include "ts/TestStream.h"

namespace workstation::evidence {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Twenty ticks for each second, and packets after each.
class TickStream {
public:
    // Goes on with `count` ticks.
    TickStream& Ticks(unsigned int count) {
        for (; count > 0; --count, ++tick_) {
            auto const packet =
                ts::EncodeSystemTick(TsHelper::StreamSystickSystem,
                                     {tick_, static_cast<int>(tick_) / 20 + late_, {}}, 0);
            stream_.Add({packet.begin(), packet.end()}).Media(20);
        }
        return *this;
    }
    TickStream& Pause(int seconds) {
        late_ += seconds;
        return *this;
    }
    TickStream& LeaveOut(unsigned int ticks) {
        tick_ += ticks;
        return *this;
    }

    std::vector<unsigned char> const& Data() { return stream_.Data(); }

private:
    ts_test::TestStream stream_;
    unsigned int tick_ = 0;
    int late_ = 0;
};

std::vector<TimeGap> Gaps(SlotReader& slot) {
    std::vector<TimeGap> gaps;
    AppendTimeGaps(slot, FindSlotEnds(slot).value(), gaps);
    return gaps;
}

std::vector<TimeGap> Gaps(TickStream& stream) {
    TestSlot slot(stream.Data());
    return Gaps(slot);
}

TEST(TimeGapsTest, SlotWithoutPausesHasNoGap) {
    EXPECT_THAT(Gaps(TickStream().Ticks(1)), IsEmpty());
    EXPECT_THAT(Gaps(TickStream().LeaveOut(7).Ticks(1000)), IsEmpty());
}

TEST(TimeGapsTest, EveryPauseIsFound) {
    EXPECT_THAT(
        Gaps(TickStream().Ticks(400).Pause(2).Ticks(200).Pause(60).Ticks(1).Pause(5).Ticks(20)),
        ElementsAre(TimeGap{19, 22}, TimeGap{31, 92}, TimeGap{92, 97}));
}

TEST(TimeGapsTest, ClockThatWasSetBackIsAGap) {
    EXPECT_THAT(Gaps(TickStream().Ticks(400).Pause(-3).Ticks(400)), ElementsAre(TimeGap{19, 17}));
}

TEST(TimeGapsTest, MissingTicksInNoTimeAreAGap) {
    EXPECT_THAT(Gaps(TickStream().Ticks(400).LeaveOut(100).Pause(-5).Ticks(400)),
                ElementsAre(TimeGap{19, 20}));
}

TEST(TimeGapsTest, OnlyThePartsThatDisagreeAreRead) {
    TickStream stream;
    stream.Ticks(3000).Pause(10).Ticks(5000);
    TestSlot slot(stream.Data());
    EXPECT_THAT(Gaps(slot), ElementsAre(TimeGap{149, 160}));
    EXPECT_LT(slot.BytesRead(), slot.Length() / 50);
}

TEST(TimeGapsTest, GapIsFoundBesideDamage) {
    TickStream stream;
    stream.Ticks(400).Pause(10).Ticks(400);
    auto bytes = stream.Data();
    std::fill(bytes.begin() + 398 * 21 * 188, bytes.begin() + 402 * 21 * 188,
              static_cast<unsigned char>(0));
    TestSlot slot(bytes);
    EXPECT_THAT(Gaps(slot), ElementsAre(TimeGap{19, 30}));
}

TEST(TimeGapsTest, GapIsMissingNumbersOrMoreThanASecond) {
    PlacedTick const tick{0, 7, 100};
    EXPECT_FALSE(IsGap(tick, {188, 8, 100}));
    EXPECT_FALSE(IsGap(tick, {188, 8, 101}));
    EXPECT_FALSE(IsGap(tick, {188, 7, 100}));
    EXPECT_FALSE(IsGap({0, 0xFFFFFFFF, 100}, {188, 0, 100}));
    EXPECT_TRUE(IsGap(tick, {188, 9, 100}));
    EXPECT_TRUE(IsGap(tick, {188, 6, 100}));
    EXPECT_TRUE(IsGap(tick, {188, 8, 102}));
    EXPECT_TRUE(IsGap(tick, {188, 8, 98}));
}

} // namespace
} // namespace workstation::evidence

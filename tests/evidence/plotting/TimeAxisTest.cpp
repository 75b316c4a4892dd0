// Where the marks of a time axis are, and what they say.
#include "evidence/plotting/TimeAxis.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace workstation::evidence::plotting {
namespace {

class TimeAxis : public testing::Test {
protected:
    TimeAxis() { setenv("TZ", "Europe/Berlin", 1); }
    ~TimeAxis() override { unsetenv("TZ"); }

    // "label", or "label date".
    static std::vector<std::string> Labels(std::int64_t from, std::int64_t to, std::size_t most) {
        std::vector<std::string> labels;
        for (TimeMark const& mark : TimeMarks(from, to, most)) {
            labels.push_back(mark.label + (mark.date.empty() ? "" : " " + mark.date));
        }
        return labels;
    }

    using Texts = std::vector<std::string>;
    static constexpr std::int64_t noon = 1763809200; // 2025-11-22 12:00:00 CET
};

TEST_F(TimeAxis, MarksAreAtRoundLocalTimes) {
    EXPECT_EQ(Labels(noon + 7, noon + 37, 4),
              (Texts{"12:00:10 2025-11-22", "12:00:20", "12:00:30"}));
    EXPECT_EQ(Labels(noon + 60, noon + 7200, 4),
              (Texts{"12:30 2025-11-22", "13:00", "13:30", "14:00"}));
}

TEST_F(TimeAxis, EachDayBeginsWithItsDate) {
    EXPECT_EQ(Labels(noon, noon + 86400, 5),
              (Texts{"12:00 2025-11-22", "18:00", "00:00 2025-11-23", "06:00", "12:00"}));
}

TEST_F(TimeAxis, MarksThatAreDaysMonthsOrYearsApartAreDates) {
    EXPECT_EQ(Labels(noon, noon + 3 * 86400, 4), (Texts{"2025-11-23", "2025-11-24", "2025-11-25"}));
    EXPECT_EQ(Labels(noon, noon + 100 * 86400, 4),
              (Texts{"2025-12-01", "2026-01-01", "2026-02-01", "2026-03-01"}));
    EXPECT_EQ(Labels(0, 2147483647, 4), (Texts{"1980-01-01", "2000-01-01", "2020-01-01"}));
}

// 2025-10-26: 03:00 CEST is 02:00 CET again. 2026-03-29: 02:00 CET is 03:00 CEST.
TEST_F(TimeAxis, ClocksAreSetBackAndForward) {
    std::int64_t const back = 1761440400; // 03:00 CEST
    auto const marks = TimeMarks(back - 7200, back + 7200, 10);
    for (std::size_t i = 1; i < marks.size(); ++i) {
        EXPECT_LT(marks[i - 1].time, marks[i].time);
        EXPECT_NE(marks[i - 1].label, marks[i].label);
    }
    EXPECT_EQ(ZoneOf(back - 7200, back + 7200), "CEST/CET");
    std::int64_t const forward = 1774746000; // 02:00 CET
    EXPECT_EQ(Labels(forward - 3600, forward + 3600, 3),
              (Texts{"01:00 2026-03-29", "03:00", "04:00"}));
    EXPECT_EQ(ZoneOf(noon, noon), "CET");
}

TEST_F(TimeAxis, HasNoMoreMarksThanThereIsRoomFor) {
    for (std::int64_t length = 1; length < INT64_C(4000000000); length = length * 3 / 2 + 1) {
        for (std::int64_t const from : {noon, noon - 86399, INT64_C(-2000000000)}) {
            auto const marks = TimeMarks(from, from + length, 10);
            ASSERT_LE(marks.size(), 10U) << from << " " << length;
            if (length < 86400) {
                ASSERT_GE(marks.size(), 2U) << from << " " << length;
            }
            for (TimeMark const& mark : marks) {
                ASSERT_TRUE(mark.time >= from && mark.time <= from + length);
            }
        }
    }
}

} // namespace
} // namespace workstation::evidence::plotting

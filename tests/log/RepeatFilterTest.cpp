// What is logged of entries that repeat.
#include "log/RepeatFilter.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using workstation::log::RepeatFilter;

constexpr int warning = 4;

class RepeatFilterTest : public testing::Test {
protected:
    bool Passes(std::string const& text) { return filter_.Passes(text, warning, now_); }

    std::vector<std::string> Due() { return TextsOf(filter_.TakeDue(now_)); }

    static std::vector<std::string> TextsOf(std::vector<RepeatFilter::Summary> const& summaries) {
        std::vector<std::string> texts;
        for (auto const& summary : summaries) {
            EXPECT_EQ(summary.priority, warning);
            texts.push_back(summary.text);
        }
        return texts;
    }

    RepeatFilter filter_;
    RepeatFilter::Time now_ = RepeatFilter::Time() + 1h;
};

TEST_F(RepeatFilterTest, TextPassesOnceASecond) {
    EXPECT_TRUE(Passes("text"));
    EXPECT_FALSE(filter_.Due());
    now_ += 999ms;
    EXPECT_FALSE(Passes("text"));
    EXPECT_TRUE(Passes("other"));
    EXPECT_THAT(Due(), IsEmpty());
    EXPECT_EQ(filter_.Due(), now_ + 1ms);
    now_ += 1ms;
    EXPECT_THAT(Due(), ElementsAre("text, 1 time more"));
    EXPECT_THAT(Due(), IsEmpty());
    EXPECT_FALSE(filter_.Due());
}

TEST_F(RepeatFilterTest, TextThatDoesNotRepeatPassesAgainAfterASecond) {
    EXPECT_TRUE(Passes("text"));
    now_ += 1s;
    EXPECT_TRUE(Passes("text"));
    EXPECT_THAT(Due(), IsEmpty());
}

// Of a cause that never rests there is one line a second, and each occurrence is in one of them.
TEST_F(RepeatFilterTest, SummaryIsAnEntryToo) {
    EXPECT_TRUE(Passes("text"));
    for (int second = 0; second < 3; ++second) {
        for (int times = 0; times < 100; ++times) {
            now_ += 10ms;
            EXPECT_FALSE(Passes("text"));
        }
        EXPECT_THAT(Due(), ElementsAre("text, 100 times more"));
    }
    now_ += 1s;
    EXPECT_TRUE(Passes("text"));
}

// The summary comes late where nobody asks for it; then what comes next belongs to it.
TEST_F(RepeatFilterTest, NothingPassesBeforeTheSummary) {
    EXPECT_TRUE(Passes("text"));
    EXPECT_FALSE(Passes("text"));
    now_ += 5s;
    EXPECT_FALSE(Passes("text"));
    EXPECT_THAT(Due(), ElementsAre("text, 2 times more"));
}

TEST_F(RepeatFilterTest, WhatIsNotDueIsTakenAtTheEnd) {
    EXPECT_TRUE(Passes("b"));
    EXPECT_TRUE(Passes("a"));
    EXPECT_FALSE(Passes("b"));
    EXPECT_FALSE(Passes("a"));
    EXPECT_FALSE(Passes("a"));
    EXPECT_THAT(TextsOf(filter_.TakeAll(now_)), ElementsAre("a, 2 times more", "b, 1 time more"));
    EXPECT_THAT(TextsOf(filter_.TakeAll(now_)), IsEmpty());
}

TEST_F(RepeatFilterTest, TextsBeyondTheLimitPass) {
    for (std::size_t number = 0; number < RepeatFilter::maxTexts; ++number) {
        EXPECT_TRUE(Passes(std::to_string(number)));
    }
    EXPECT_TRUE(Passes("text"));
    EXPECT_TRUE(Passes("text"));
    EXPECT_FALSE(Passes("0"));
    now_ += 1s;
    EXPECT_TRUE(Passes("text"));
    EXPECT_FALSE(Passes("text")) << "there is room again";
}

} // namespace

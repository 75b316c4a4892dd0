// Datagrams of RTP come out in the order of their numbers, each once.
#include "service/recording/RtpOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace {

using namespace workstation::service::recording;
using namespace std::chrono_literals;

using Numbers = std::vector<int>;

class RtpOrderTest : public testing::Test {
protected:
    // A datagram whose packets are a byte, its number modulo 256.
    void Add(int number, std::uint32_t sender = 1) {
        unsigned char const content = static_cast<unsigned char>(number);
        order_.Add({static_cast<std::uint16_t>(number), sender}, {&content, 1}, now_, out_);
    }
    void Add(Numbers const& numbers) {
        for (int const number : numbers) {
            Add(number);
        }
    }
    void Pass(std::chrono::milliseconds time) {
        now_ += time;
        order_.Release(now_, out_);
    }
    Numbers Out() const { return {out_.begin(), out_.end()}; }
    static Numbers Range(int first, int count) {
        Numbers numbers(static_cast<std::size_t>(count));
        std::iota(numbers.begin(), numbers.end(), first);
        return numbers;
    }

    RtpOrder::Time now_ = RtpOrder::Time() + 1h;
    RtpOrder order_;
    RtpOrder::Bytes out_;
};

TEST_F(RtpOrderTest, InOrderNothingWaits) {
    Add({5, 6, 7});
    EXPECT_EQ(Out(), (Numbers{5, 6, 7}));
    EXPECT_FALSE(order_.Due());
}

TEST_F(RtpOrderTest, OutOfOrderIsPutInOrder) {
    Add({5, 8, 7, 6, 9});
    EXPECT_EQ(Out(), (Numbers{5, 6, 7, 8, 9}));
    EXPECT_FALSE(order_.Due());
}

TEST_F(RtpOrderTest, SecondOneIsLeftOut) {
    Add({5, 5, 7, 7, 6, 6, 7, 8});
    EXPECT_EQ(Out(), (Numbers{5, 6, 7, 8}));
}

TEST_F(RtpOrderTest, LostOneIsWaitedForUntilTheTimeIsOver) {
    Add({5, 7});
    Pass(20ms);
    Add(9);
    EXPECT_EQ(*order_.Due(), now_ + 30ms);
    Pass(29ms);
    EXPECT_EQ(Out(), (Numbers{5}));
    Pass(1ms);
    EXPECT_EQ(Out(), (Numbers{5, 7}));
    EXPECT_EQ(*order_.Due(), now_ + 20ms);
    Add(6); // too late
    Pass(20ms);
    EXPECT_EQ(Out(), (Numbers{5, 7, 9}));
}

TEST_F(RtpOrderTest, LostOneIsWaitedForUntilTooManyWait) {
    Add(0);
    Add(Range(2, 32));
    EXPECT_EQ(Out(), (Numbers{0}));
    Add(34);
    Numbers expected = Range(2, 33);
    expected.insert(expected.begin(), 0);
    EXPECT_EQ(Out(), expected);
}

TEST_F(RtpOrderTest, NumbersWrap) {
    Add({65534, 0, 65535, 1});
    EXPECT_EQ(Out(), (Numbers{254, 255, 0, 1}));
}

TEST_F(RtpOrderTest, NewSenderBeginsAnOrderOfItsOwn) {
    Add({100, 102});
    Add(50, 2);
    Add(51, 2);
    EXPECT_EQ(Out(), (Numbers{100, 102, 50, 51}));
    EXPECT_FALSE(order_.Due());
}

TEST_F(RtpOrderTest, SenderThatBeginsAgainIsFollowed) {
    Add({30000, 30002, 10, 11, 65000 - 30000});
    EXPECT_EQ(Out(), (Numbers{30000 % 256, 30002 % 256, 10, 11, 35000 % 256}));
}

// Every order in which no datagram is more than the window late.
TEST_F(RtpOrderTest, RandomOrderWithinTheWindowLosesNothing) {
    std::mt19937 random(1);
    Numbers numbers = Range(0, 3200);
    for (auto begin = numbers.begin() + 1; numbers.end() - begin > 16; begin += 16) {
        std::shuffle(begin, begin + 16, random);
    }
    Add(numbers);
    Numbers expected = Range(0, 3200);
    std::ranges::transform(expected, expected.begin(), [](int number) { return number % 256; });
    EXPECT_EQ(Out(), expected);
}

} // namespace

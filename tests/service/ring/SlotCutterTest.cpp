// Slots are filled to the packet, and it is known which ticks lie in which.
#include "service/ring/SlotCutter.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "pool/PoolLayout.h"
#include "service/recording/DamagedStream.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::ring;

constexpr std::size_t slotSize = 10 * ts::tsPacketSize;

// Notes what is done, and keeps the bytes of each slot.
class FakeSlots : public SlotSink {
public:
    explicit FakeSlots(std::size_t size = slotSize)
        : size_(size) {}

    bool OpenSlot() override {
        if (isStopped) {
            return false;
        }
        slots.emplace_back();
        contents_ = {};
        calls += "open ";
        return true;
    }
    std::size_t Room() const override { return size_ - contents_.size; }
    void WriteSlot(std::span<unsigned char const> packets,
                   std::optional<TickRange> const& ticks) override {
        if (fails) {
            throw std::runtime_error("the disk is gone");
        }
        slots.back().insert(slots.back().end(), packets.begin(), packets.end());
        contents_.Add(packets.size(), ticks);
        calls += "write " + std::to_string(packets.size() / ts::tsPacketSize) + " ";
    }
    void CloseSlot() override {
        closed.push_back(contents_);
        calls += "close ";
    }

    // What was written last did not last.
    void GiveUp(std::size_t size) {
        contents_.size -= size;
        slots.back().resize(contents_.size);
    }

    std::string calls;
    std::vector<Bytes> slots;
    std::vector<SlotContents> closed;
    bool fails = false;
    bool isStopped = false;

private:
    std::size_t size_;
    SlotContents contents_;
};

class SlotCutterTest : public testing::Test {
protected:
    // Packets with a tick in place of some of them.
    void Write(unsigned int count, std::vector<unsigned int> const& tickPackets) {
        recording::TickedBlock block;
        block.bytes = stream_.Good(count).All();
        block.bytes.erase(block.bytes.begin(), block.bytes.end() - static_cast<std::ptrdiff_t>(
                                                                       count * ts::tsPacketSize));
        for (unsigned int const packet : tickPackets) {
            block.ticks.push_back({packet * ts::tsPacketSize, Stamp(tick_)});
            ++tick_;
        }
        cutter_.Write(block);
    }
    static recording::TickStamp Stamp(std::uint32_t tick) {
        return {tick, static_cast<int>(tick * 1000)};
    }
    static TickRange Range(std::uint32_t first, std::uint32_t last) {
        return {Stamp(first), Stamp(last)};
    }
    Bytes Written() const {
        Bytes written;
        for (Bytes const& slot : slots_.slots) {
            written.insert(written.end(), slot.begin(), slot.end());
        }
        return written;
    }

    DamagedStream stream_;
    std::uint32_t tick_ = 1;
    FakeSlots slots_;
    SlotCutter cutter_{slots_};
};

TEST_F(SlotCutterTest, NothingWrittenOpensNoSlot) {
    cutter_.Write({});
    cutter_.Finish();
    EXPECT_EQ(slots_.calls, "");
}

TEST_F(SlotCutterTest, BlockIsCutAtTheEndsOfSlots) {
    Write(4, {});
    Write(27, {});
    cutter_.Finish();
    EXPECT_EQ(slots_.calls, "open write 4 write 6 close open write 10 close open write 10 close "
                            "open write 1 close ");
    EXPECT_EQ(Written(), stream_.All());
}

TEST_F(SlotCutterTest, FullSlotIsClosedAtOnceAndNoneOpenedForNothing) {
    Write(10, {});
    EXPECT_EQ(slots_.calls, "open write 10 close ");
    cutter_.Finish();
    EXPECT_EQ(slots_.calls, "open write 10 close ");
}

TEST_F(SlotCutterTest, SlotEndsAtEveryPacketOfABlock) {
    for (unsigned int before = 0; before <= 10; ++before) {
        FakeSlots slots;
        SlotCutter cutter(slots);
        DamagedStream stream;
        recording::TickedBlock first{stream.Good(before).All(), {}};
        cutter.Write(first);
        recording::TickedBlock second{DamagedStream().Good(10).All(), {}};
        // A tick in each packet, numbered by the packet of the recording.
        for (unsigned int i = 0; i < 10; ++i) {
            second.ticks.push_back({i * ts::tsPacketSize, Stamp(before + i)});
        }
        cutter.Write(second);
        cutter.Finish();

        std::vector<SlotContents> expected;
        if (before < 10) {
            expected.push_back({slotSize, Range(before, 9)});
        } else {
            expected.push_back({slotSize, std::nullopt});
        }
        if (before > 0) {
            expected.push_back(
                {before * ts::tsPacketSize, Range(std::max(10U, before), before + 9)});
        }
        EXPECT_EQ(slots.closed, expected) << before;
    }
}

TEST_F(SlotCutterTest, TicksOfSeveralBlocksAreOneRange) {
    Write(3, {0, 2});
    Write(3, {});
    Write(3, {1});
    cutter_.Finish();
    EXPECT_EQ(slots_.closed, (std::vector<SlotContents>{{9 * ts::tsPacketSize, Range(1, 3)}}));
}

TEST_F(SlotCutterTest, SlotWithoutTickSaysSo) {
    Write(30, {0, 9, 20});
    EXPECT_EQ(slots_.closed,
              (std::vector<SlotContents>{
                  {slotSize, Range(1, 2)}, {slotSize, std::nullopt}, {slotSize, Range(3, 3)}}));
}

TEST_F(SlotCutterTest, WithoutAnotherSlotTheRestIsLeftOutOnceStopIsSet) {
    Write(5, {});
    slots_.isStopped = true;
    Write(10, {});
    cutter_.Finish();
    EXPECT_EQ(slots_.calls, "open write 5 write 5 close ");
}

TEST_F(SlotCutterTest, FailedWriteCountsNothingAndLeavesTheSlotToBeClosed) {
    Write(5, {0});
    slots_.fails = true;
    EXPECT_THROW(Write(2, {0}), std::runtime_error);
    cutter_.Finish();
    EXPECT_EQ(slots_.closed, (std::vector<SlotContents>{{5 * ts::tsPacketSize, Range(1, 1)}}));
}

TEST_F(SlotCutterTest, SlotThatGaveBytesUpIsFilledAllTheSame) {
    Write(8, {0});
    slots_.GiveUp(5 * ts::tsPacketSize);
    Write(9, {});
    EXPECT_EQ(slots_.calls, "open write 8 write 7 close open write 2 ");
}

TEST(SlotCutter, SlotOfThePoolHoldsItsPacketsExactly) {
    FakeSlots slots(pool::poolSlotSize);
    SlotCutter cutter(slots);
    Bytes const bytes(524287 * ts::tsPacketSize);
    Bytes const more(2 * ts::tsPacketSize);
    cutter.Write({bytes, {}});
    cutter.Write({more, {}});
    EXPECT_EQ(slots.calls, "open write 524287 write 1 close open write 1 ");
}

} // namespace

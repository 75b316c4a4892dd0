// When the packets of a recording are written.
#include "service/recording/BlockWriter.h"

#include <gmock/gmock.h>

#include "service/recording/DamagedStream.h"
#include "service/recording/Fakes.h"

namespace {

using namespace recording_test;
using namespace workstation::service::recording;
using namespace std::chrono_literals;

using testing::ElementsAre;
using testing::IsEmpty;
using workstation::ts::tsBlockSize;
using workstation::ts::tsPacketSize;

class BlockWriterTest : public testing::Test {
protected:
    void Add(unsigned int count) { writer_.Add(DamagedStream().Good(count).All()); }

    StopEvent stop_;
    FakeClock clock_;
    FakeTicks ticks_{1};
    FakeTarget target_{stop_};
    BlockWriter writer_{target_, TickStamper(ticks_), clock_};
};

TEST_F(BlockWriterTest, FullBlockIsWrittenAtOnce) {
    Add(1022); // and the first tick
    EXPECT_THAT(target_.Writes(), IsEmpty());
    Add(1);
    EXPECT_THAT(target_.Writes(), ElementsAre(tsBlockSize));
    EXPECT_FALSE(writer_.Due());
}

TEST_F(BlockWriterTest, PacketsAreDueATenthOfASecondAfterTheFirst) {
    auto const start = clock_.Now();
    Add(1);
    clock_.Advance(99ms);
    Add(1);
    EXPECT_EQ(writer_.Due(), start + 100ms);
    EXPECT_THAT(target_.Writes(), IsEmpty());
    clock_.Advance(1ms);
    Add(1);
    EXPECT_THAT(target_.Writes(), ElementsAre(4 * tsPacketSize));
    EXPECT_FALSE(writer_.Due());
}

TEST_F(BlockWriterTest, WhatComesBeforeTheEndIsWrittenThoughTheRecordingIsToStop) {
    Add(1);
    stop_.Set();
    Add(1);
    writer_.Complete();
    writer_.End();
    EXPECT_THAT(target_.Writes(), ElementsAre(3 * tsPacketSize));
    EXPECT_EQ(target_.Calls(), "begin write end");
    EXPECT_EQ(ticks_.Next(), 2U);
}

TEST_F(BlockWriterTest, WithoutPacketsNothingBegins) {
    writer_.Complete();
    writer_.End();
    EXPECT_EQ(target_.Calls(), "");
    EXPECT_FALSE(ticks_.WereReturned());
}

} // namespace

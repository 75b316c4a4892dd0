// The look-up of a tick.
#include "TickFileTest.h"
#include "streamfile/TickTable.h"

namespace {

class TickToOffsetTest : public TickFileTest {
protected:
    // Looks up a tick, with -7 for an offset that stayed as it was.
    std::pair<bool, long> Look(unsigned int tick) {
        long offset = -7;
        bool const found = TickToOffset(table, tick, offset);
        return {found, offset};
    }

    using Found = std::pair<bool, long>;
    static constexpr Found notFound = {false, -7};

    TickTable table;
};

TEST_F(TickToOffsetTest, EmptyTableHoldsNothing) {
    EXPECT_EQ(Look(0), notFound);
    EXPECT_EQ(Look(100), notFound);
}

TEST_F(TickToOffsetTest, OnlyTheExactTickIsFoundWhereverItStands) {
    table = {Entry(0, 300, 1), Entry(188, 100, 2), Entry(98565956, 200, 3)};
    EXPECT_EQ(Look(300), Found(true, 0));
    EXPECT_EQ(Look(100), Found(true, 188));
    EXPECT_EQ(Look(200), Found(true, 98565956));
    for (unsigned int const absent : {0U, 99U, 101U, 199U, 301U, 4294967295U}) {
        EXPECT_EQ(Look(absent), notFound) << absent;
    }
    ExpectOutput("", "");
}

TEST_F(TickToOffsetTest, FirstOfEqualTicksWins) {
    table = {Entry(5000, 100, 1), Entry(1000, 200, 2), Entry(2000, 200, 3), Entry(100, 100, 4)};
    EXPECT_EQ(Look(200), Found(true, 1000));
    EXPECT_EQ(Look(100), Found(true, 5000));
}

TEST_F(TickToOffsetTest, WholeRangeOfTicksIsCompared) {
    table = {Entry(1, 0, 1), Entry(2, 2147483647, 2), Entry(3, 2147483648U, 3),
             Entry(4, 4294967295U, 4)};
    EXPECT_EQ(Look(0), Found(true, 1));
    EXPECT_EQ(Look(2147483647), Found(true, 2));
    EXPECT_EQ(Look(2147483648U), Found(true, 3));
    EXPECT_EQ(Look(4294967295U), Found(true, 4));
}

TEST_F(TickToOffsetTest, TableIsLeftAsItIs) {
    table = Entries({10, 11, 12});
    Look(11);
    ASSERT_EQ(table.size(), 3U);
    EXPECT_EQ(table[1].first, 1000U);
    EXPECT_EQ(table[1].second.tick, 11U);
}

} // namespace

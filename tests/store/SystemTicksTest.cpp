// Reservations of system ticks.
#include <limits>

#include "Failure.h"
#include "StoreTest.h"
#include "store/Statement.h"

namespace workstation::store {
namespace {

class SystemTicksTest : public StoreTest {
protected:
    // What the next process is given.
    unsigned int FirstAfterRestart(unsigned int stream) {
        return EventStore(Path()).ReserveTicks(stream, 1);
    }
};

TEST_F(SystemTicksTest, ReservationsFollowEachOther) {
    EXPECT_EQ(store_.ReserveTicks(1, 1200), 0U);
    EXPECT_EQ(store_.ReserveTicks(1, 1), 1200U);
    EXPECT_EQ(store_.ReserveTicks(1, 1200), 1201U);
    EXPECT_EQ(FirstAfterRestart(1), 2401U);
}

TEST_F(SystemTicksTest, StreamsCountForThemselves) {
    EXPECT_EQ(store_.ReserveTicks(1, 10), 0U);
    EXPECT_EQ(store_.ReserveTicks(4, 20), 0U);
    EXPECT_EQ(store_.ReserveTicks(1, 1), 10U);
    EXPECT_EQ(store_.ReserveTicks(4, 1), 20U);
    EXPECT_THROW(store_.ReserveTicks(0, 1), Failure);
    EXPECT_THROW(store_.ReserveTicks(5, 1), Failure);
}

TEST_F(SystemTicksTest, ReturnedRestIsHandedOutAgain) {
    EXPECT_EQ(store_.ReserveTicks(1, 100), 0U);
    EXPECT_EQ(store_.ReserveTicks(1, 100), 100U);
    store_.ReturnTicks(1, 130);
    EXPECT_EQ(FirstAfterRestart(1), 130U);
}

TEST_F(SystemTicksTest, WholeReservationCanBeReturned) {
    EXPECT_EQ(store_.ReserveTicks(1, 100), 0U);
    store_.ReturnTicks(1, 0);
    EXPECT_EQ(store_.ReserveTicks(1, 100), 0U);
}

TEST_F(SystemTicksTest, NothingLeftToReturnChangesNothing) {
    EXPECT_EQ(store_.ReserveTicks(1, 100), 0U);
    store_.ReturnTicks(1, 100);
    EXPECT_EQ(FirstAfterRestart(1), 100U);
}

TEST_F(SystemTicksTest, ValuesOutsideTheLastReservationAreNotTakenBack) {
    EXPECT_EQ(store_.ReserveTicks(1, 100), 0U);
    EXPECT_EQ(store_.ReserveTicks(1, 100), 100U);
    store_.ReturnTicks(1, 99);
    store_.ReturnTicks(1, 201);
    store_.ReturnTicks(1, std::numeric_limits<unsigned int>::max());
    store_.ReturnTicks(2, 100); // never reserved
    store_.ReturnTicks(9, 100);
    EXPECT_EQ(FirstAfterRestart(1), 200U);
}

TEST_F(SystemTicksTest, ReturnedTwiceIsTakenBackOnce) {
    EXPECT_EQ(store_.ReserveTicks(1, 100), 0U);
    store_.ReturnTicks(1, 50);
    store_.ReturnTicks(1, 20);
    EXPECT_EQ(FirstAfterRestart(1), 50U);
}

TEST_F(SystemTicksTest, CounterWrapsAfter32Bits) {
    EXPECT_EQ(store_.ReserveTicks(1, 0xFFFFFFF0), 0U);
    EXPECT_EQ(store_.ReserveTicks(1, 0x20), 0xFFFFFFF0U);
    EXPECT_EQ(store_.ReserveTicks(1, 0x20), 0x10U);
    store_.ReturnTicks(1, 0x18);
    EXPECT_EQ(FirstAfterRestart(1), 0x18U);
}

TEST_F(SystemTicksTest, RestIsReturnedAcrossTheWrap) {
    EXPECT_EQ(store_.ReserveTicks(1, 0xFFFFFFF0), 0U);
    EXPECT_EQ(store_.ReserveTicks(1, 0x20), 0xFFFFFFF0U);
    store_.ReturnTicks(1, 0xFFFFFFF8);
    EXPECT_EQ(FirstAfterRestart(1), 0xFFFFFFF8U);
}

} // namespace
} // namespace workstation::store

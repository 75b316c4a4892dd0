// The storage figures, in the log and in notifications.
#include "service/subscribers/StorageFigures.h"

#include "BigEndian.h"
#include "pool/PoolSession.h"
#include "service/PoolAndStore.h"

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::subscribers;

namespace {

// By file:  1 empty   2 recorded   3 held, in the buffer   4 held, not in it   5 being written
TEST(StorageFigures, EveryFileCountsOnceInTheSum) {
    PoolAndStore parts(5);
    for (int number : {2, 3, 4}) {
        parts.Load(number, std::vector<unsigned char>(188));
    }
    parts.Pool().Set(5, pool::EntryWord::controller, 2);
    auto const figures = CountStorage(parts.Pool(), store::HeldFiles{{3}, {4}});
    EXPECT_EQ(figures, (StorageFigures{5 * 96256, 3 * 96256, 96256, 96256, 96256}));
    EXPECT_EQ(figures.total, figures.buffer + figures.untransferredNotInBuffer + figures.free);
}

TEST(StorageFigures, EmptyPoolHasNothing) {
    PoolAndStore parts(0);
    EXPECT_EQ(CountStorage(parts.Pool(), {}), StorageFigures{});
    EXPECT_EQ(DescribeStorage({}),
              "total 0 KiB, buffer 0 KiB (0.0 %), event untransferred in buffer 0 KiB (0.0 %), "
              "event untransferred not in buffer 0 KiB (0.0 %), free 0 KiB (0.0 %)");
}

TEST(StorageFigures, SharesOfTheTotalAreReported) {
    EXPECT_EQ(DescribeStorage({800, 300, 100, 50, 450}),
              "total 800 KiB, buffer 300 KiB (37.5 %), event untransferred in buffer 100 KiB (12.5 "
              "%), event untransferred not in buffer 50 KiB (6.2 %), free 450 KiB (56.2 %)");
}

TEST(StorageFigures, NotificationIsFiveWordsInOrder) {
    EXPECT_EQ(EncodeStorage({0x01020304, 5, 6, 7, 8}),
              (std::vector<char>{1, 2, 3, 4, 0, 0, 0, 5, 0, 0, 0, 6, 0, 0, 0, 7, 0, 0, 0, 8}));
}

// 44,620 slots of 96,256 KiB are the last that a word can state.
TEST(StorageFigures, PoolsBeyondTheWordAreSentAsTheLargestAndLoggedAsTheyAre) {
    for (int const files : {44620, 44621, 100000}) {
        PoolAndStore parts(static_cast<unsigned int>(files));
        auto const figures = CountStorage(parts.Pool(), {});
        std::uint64_t const sizeKiB = static_cast<std::uint64_t>(files) * 96256;
        EXPECT_EQ(figures, (StorageFigures{sizeKiB, 0, 0, 0, sizeKiB}));
        auto const words = EncodeStorage(figures);
        std::uint32_t const sent = files == 44620 ? 0xFFFFA000U : 0xFFFFFFFFU;
        auto const* const bytes = reinterpret_cast<unsigned char const*>(words.data());
        EXPECT_EQ(GetBig32(bytes), sent) << files;
        EXPECT_EQ(GetBig32(bytes + 4), 0U);
        EXPECT_EQ(GetBig32(bytes + 16), sent);
        EXPECT_TRUE(DescribeStorage(figures).starts_with("total " + std::to_string(sizeKiB) +
                                                         " KiB, buffer 0 KiB (0.0 %)"));
    }
}

} // namespace

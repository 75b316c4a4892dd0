// How the bytes between packets are sorted into faults.
#include "evidence/LostBytes.h"

#include <random>

using namespace workstation::evidence;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<unsigned char> Bytes(std::size_t size, unsigned char value) {
    return std::vector<unsigned char>(size, value);
}

Fault Of(FaultKind kind, std::uint32_t offset, std::uint32_t bytes) {
    return {offset, bytes, {}, {}, {}, kind};
}

TEST(LostBytesTest, NothingLostIsNoFault) {
    LostBytes lost;
    EXPECT_TRUE(lost.IsEmpty());
    EXPECT_THAT(lost.Take(), IsEmpty());
}

TEST(LostBytesTest, OtherBytesAreOneLossOfSync) {
    LostBytes lost;
    lost.Add(100, Bytes(50, 7), {});
    lost.Add(150, Bytes(70, 8), {});
    EXPECT_FALSE(lost.IsEmpty());
    EXPECT_THAT(lost.Take(), ElementsAre(Of(FaultKind::sync, 100, 120)));
    EXPECT_TRUE(lost.IsEmpty());
}

TEST(LostBytesTest, ZerosCountFromTheLengthOfAPacketOn) {
    for (auto const& [size, kind] :
         {std::pair(187U, FaultKind::sync), std::pair(188U, FaultKind::zeros),
          std::pair(189U, FaultKind::zeros)}) {
        LostBytes lost;
        lost.Add(0, Bytes(size, 0), {});
        EXPECT_THAT(lost.Take(), ElementsAre(Of(kind, 0, size))) << size;
    }
}

TEST(LostBytesTest, RunOfZerosIsFollowedAcrossPieces) {
    LostBytes lost;
    lost.Add(1000, Bytes(100, 1), {});
    lost.Add(1100, Bytes(100, 0), {});
    lost.Add(1200, Bytes(100, 0), {});
    lost.Add(1300, Bytes(10, 1), {});
    EXPECT_THAT(lost.Take(),
                ElementsAre(Of(FaultKind::sync, 1000, 100), Of(FaultKind::zeros, 1100, 200),
                            Of(FaultKind::sync, 1300, 10)));
}

TEST(LostBytesTest, FewZerosDoNotDivideALoss) {
    LostBytes lost;
    lost.Add(0, Bytes(100, 1), {});
    lost.Add(100, Bytes(100, 0), {});
    lost.Add(200, Bytes(100, 1), {});
    EXPECT_THAT(lost.Take(), ElementsAre(Of(FaultKind::sync, 0, 300)));
}

TEST(LostBytesTest, NoiseIsOneLossOfSync) {
    std::mt19937 random(1);
    std::vector<unsigned char> noise(1000000);
    std::ranges::generate(noise, [&] { return static_cast<unsigned char>(random()); });
    LostBytes lost;
    lost.Add(0, std::span(noise).first(300000), {});
    lost.Add(300000, std::span(noise).subspan(300000), {});
    EXPECT_THAT(lost.Take(), ElementsAre(Of(FaultKind::sync, 0, 1000000)));
}

TEST(LostBytesTest, UnreadableRangeStandsForTheCutPacketsBesideIt) {
    LostBytes lost;
    std::vector<Range> const unreadable{{4096, 4096}};
    lost.Add(4000, Bytes(96, 5), unreadable);
    lost.Add(4096, Bytes(4096, 0), unreadable);
    lost.Add(8192, Bytes(187, 5), unreadable);
    EXPECT_THAT(lost.Take(), ElementsAre(Of(FaultKind::unreadable, 4096, 4096)));
}

TEST(LostBytesTest, APacketOrMoreBesideAnUnreadableRangeIsALossOfItsOwn) {
    LostBytes lost;
    std::vector<Range> const unreadable{{4096, 100}, {4196, 3996}};
    lost.Add(3908, Bytes(188, 5), unreadable);
    lost.Add(4096, Bytes(4096, 0), unreadable);
    lost.Add(8192, Bytes(188, 0), unreadable);
    EXPECT_THAT(lost.Take(),
                ElementsAre(Of(FaultKind::sync, 3908, 188), Of(FaultKind::unreadable, 4096, 4096),
                            Of(FaultKind::zeros, 8192, 188)));
}

} // namespace

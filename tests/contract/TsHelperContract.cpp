// What the tool relies on in the search for system ticks.
#include "TsHelper.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "contract/Scene.h"

using testing::ElementsAre;
using testing::Pair;

namespace {

class TsHelperContract : public testing::Test {
protected:
    std::vector<unsigned char> MakeStream() {
        return scene_.MakeStream({{700, 35, {}}, {701, 35, {}}, {5, -1, {}}});
    }

    // (byte offset, tick) of all that is found.
    static std::vector<std::pair<unsigned int, unsigned int>>
    Find(std::vector<unsigned char>& stream, unsigned int from = 0) {
        std::vector<std::pair<unsigned int, unsigned int>> found;
        for (auto const& [offset, metadata] :
             TsHelper(stream).SystemTick(TsHelper::StreamSystickSystem, from)) {
            found.emplace_back(offset, metadata.tick);
        }
        return found;
    }

    Scene scene_;
};

TEST_F(TsHelperContract, TicksComeInTheOrderOfTheStreamWithTheirOffsets) {
    auto stream = MakeStream();
    EXPECT_THAT(Find(stream), ElementsAre(Pair(0, 700), Pair(564, 701), Pair(1128, 5)));
}

TEST_F(TsHelperContract, TickHasAllItsFields) {
    auto stream = scene_.MakeStream({{0xFFFFFFFF, -2, {1, 2, 3, 4, 0xFFFFFFFE}}});
    auto const ticks = TsHelper(stream).SystemTick(TsHelper::StreamSystickSystem, 0);
    ASSERT_EQ(ticks.size(), 1U);
    EXPECT_EQ(ticks[0].second.tick, 0xFFFFFFFFU);
    EXPECT_EQ(ticks[0].second.time, -2);
    EXPECT_THAT(ticks[0].second.words, ElementsAre(1U, 2U, 3U, 4U, 0xFFFFFFFEU));
}

TEST_F(TsHelperContract, OnlyTicksThatBeginAtTheOffsetOrLaterAreFound) {
    for (unsigned int const from : {1U, 564U}) {
        auto stream = MakeStream();
        EXPECT_THAT(Find(stream, from), ElementsAre(Pair(564, 701), Pair(1128, 5))) << from;
    }
    for (unsigned int const from : {1129U, 1316U, 0xFFFFFFFFU}) {
        auto stream = MakeStream();
        EXPECT_THAT(Find(stream, from), ElementsAre()) << from;
    }
}

TEST_F(TsHelperContract, TickThatTheEndCutsOffIsLeftOut) {
    for (std::size_t const missing : {1U, 187U}) {
        auto stream = MakeStream();
        stream.resize(stream.size() - missing);
        EXPECT_THAT(Find(stream), ElementsAre(Pair(0, 700), Pair(564, 701))) << missing;
    }
}

TEST_F(TsHelperContract, EmptyStreamHasNoTick) {
    auto stream = scene_.MakeStream({});
    EXPECT_TRUE(stream.empty());
    EXPECT_THAT(Find(stream), ElementsAre());
}

TEST_F(TsHelperContract, StreamStaysAsItIs) {
    auto stream = MakeStream();
    auto const before = stream;
    auto const* const bytes = stream.data();
    EXPECT_EQ(Find(stream).size(), 3U);
    EXPECT_EQ(stream, before);
    EXPECT_EQ(stream.data(), bytes);
}

} // namespace

// What recording threads have to tell.
#include "service/Notices.h"

#include <gmock/gmock.h>
#include <poll.h>

#include <set>
#include <thread>

using namespace workstation;
using namespace workstation::service;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

bool IsReadable(Notices const& notices, int timeoutMs = 0) {
    pollfd event{notices.Descriptor(), POLLIN, 0};
    return poll(&event, 1, timeoutMs) == 1;
}

TEST(NoticesTest, AreTakenInTheirOrderAndOnce) {
    Notices notices;
    notices.Post(RecordStarted{"first"});
    notices.Post(RecordStopped{{"first", 1, 2, 4, false, ""}});
    notices.Post(RecordStarted{"second"});
    auto const taken = notices.Take();
    ASSERT_THAT(taken, SizeIs(3));
    EXPECT_EQ(std::get<RecordStarted>(taken[0]).reid, "first");
    EXPECT_EQ(std::get<RecordStopped>(taken[1]).recording,
              (store::Event{"first", 1, 2, 4, false, ""}));
    EXPECT_EQ(std::get<RecordStarted>(taken[2]).reid, "second");
    EXPECT_THAT(notices.Take(), IsEmpty());
}

TEST(NoticesTest, DescriptorIsReadableWhileThereAreAny) {
    Notices notices;
    EXPECT_FALSE(IsReadable(notices));
    notices.Post(RecordStarted{"one"});
    notices.Post(RecordStarted{"two"});
    EXPECT_TRUE(IsReadable(notices));
    notices.Take();
    EXPECT_FALSE(IsReadable(notices));
}

TEST(NoticesTest, OfManyThreadsAllAreTaken) {
    constexpr int threadCount = 4;
    constexpr int perThread = 200;
    Notices notices;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&notices, thread] {
            for (int number = 0; number < perThread; ++number) {
                notices.Post(RecordStarted{std::to_string(thread * perThread + number)});
            }
        });
    }
    std::set<std::string> taken;
    while (taken.size() < threadCount * perThread && IsReadable(notices, 30000)) {
        for (Notice const& notice : notices.Take()) {
            EXPECT_TRUE(taken.insert(std::get<RecordStarted>(notice).reid).second);
        }
    }
    EXPECT_THAT(taken, SizeIs(threadCount * perThread));
}

} // namespace

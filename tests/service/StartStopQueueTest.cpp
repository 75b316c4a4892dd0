// Starts and stops of recordings, posted by any thread and taken by one.
#include "service/StartStopQueue.h"

#include <gmock/gmock.h>
#include <poll.h>

#include <set>
#include <thread>

using namespace workstation;
using namespace workstation::service;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

bool IsReadable(StartStopQueue const& queue, int timeoutMs = 0) {
    pollfd event{queue.Descriptor(), POLLIN, 0};
    return poll(&event, 1, timeoutMs) == 1;
}

TEST(StartStopQueueTest, AreTakenInTheirOrderAndOnce) {
    StartStopQueue queue;
    queue.Post(RecordStarted{"first"});
    queue.Post(RecordStopped{{"first", 1, 2, 4, false, ""}});
    queue.Post(RecordStarted{"second"});
    auto const taken = queue.Take();
    ASSERT_THAT(taken, SizeIs(3));
    EXPECT_EQ(std::get<RecordStarted>(taken[0]).reid, "first");
    EXPECT_EQ(std::get<RecordStopped>(taken[1]).recording,
              (store::Event{"first", 1, 2, 4, false, ""}));
    EXPECT_EQ(std::get<RecordStarted>(taken[2]).reid, "second");
    EXPECT_THAT(queue.Take(), IsEmpty());
}

TEST(StartStopQueueTest, DescriptorIsReadableWhileThereAreAny) {
    StartStopQueue queue;
    EXPECT_FALSE(IsReadable(queue));
    queue.Post(RecordStarted{"one"});
    queue.Post(RecordStarted{"two"});
    EXPECT_TRUE(IsReadable(queue));
    queue.Take();
    EXPECT_FALSE(IsReadable(queue));
}

TEST(StartStopQueueTest, OfManyThreadsAllAreTaken) {
    constexpr int threadCount = 4;
    constexpr int perThread = 200;
    StartStopQueue queue;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&queue, thread] {
            for (int number = 0; number < perThread; ++number) {
                queue.Post(RecordStarted{std::to_string(thread * perThread + number)});
            }
        });
    }
    std::set<std::string> taken;
    while (taken.size() < threadCount * perThread && IsReadable(queue, 30000)) {
        for (StartOrStop const& startOrStop : queue.Take()) {
            EXPECT_TRUE(taken.insert(std::get<RecordStarted>(startOrStop).reid).second);
        }
    }
    EXPECT_THAT(taken, SizeIs(threadCount * perThread));
}

} // namespace

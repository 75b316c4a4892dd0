// One store that many threads use at once.
#include <array>
#include <atomic>
#include <thread>
#include <vector>

#include "StoreInvariants.h"
#include "StoreTest.h"

namespace workstation::store {
namespace {

class ThreadsTest : public StoreTest {
protected:
    // A recording thread: goes round in five files of its own; the ticks that it used.
    std::int64_t RecordRounds(unsigned int stream) {
        unsigned int next = 0;
        std::int64_t used = 0;
        for (int round = 0; round < rounds; ++round) {
            unsigned int const first = store_.ReserveTicks(stream, 100);
            EXPECT_GE(first, next);
            next = first + 60;
            used += 60;
            auto const id =
                store_.BeginFile(stream, static_cast<int>(stream) * 5 + round % 5, round, first);
            if (id) { // else an event holds the file
                EXPECT_TRUE(store_.FinishFile(*id, 1024, round, next - 1));
            }
            store_.ReturnTicks(stream, next);
        }
        return used;
    }

    void MakeAndDeleteEvents() {
        for (int round = 0; round < rounds; ++round) {
            auto const event = store_.RecordAfterTheFact(0, rounds, allStreams, round);
            if (!event) {
                continue;
            }
            auto const parts = store_.SplitEvent(event->reid, 3);
            ASSERT_TRUE(parts);
            for (Event const& part : *parts) {
                EXPECT_TRUE(store_.SetTagsComplete(part.reid));
                EXPECT_TRUE(store_.DeleteEvent(part.reid));
            }
        }
    }

    void WipeFiles() {
        while (!isDone_) {
            for (RecordedFile const& file : store_.UnprotectedFiles()) {
                store_.Wipe(file.id);
            }
        }
    }

    void Look() {
        while (!isDone_) {
            HeldFiles const held = store_.FilesHeldByEvents();
            EXPECT_LE(held.inBuffer.size() + held.notInBuffer.size(), 20U);
            EXPECT_LE(store_.FilesInUse().size(), 20U);
            store_.Chain(1, true);
        }
    }

    void BackUp() {
        while (!isDone_) {
            store_.Backup(root_.Path() / "copy.db");
        }
    }

    static constexpr int rounds = 100;
    std::atomic<bool> isDone_ = false;
};

TEST_F(ThreadsTest, EachOperationIsWhole) {
    std::array<std::int64_t, 4> ticksUsed{};
    {
        std::jthread const wiper([&] { WipeFiles(); });
        std::jthread const reader([&] { Look(); });
        std::jthread const backup([&] { BackUp(); });
        {
            std::jthread const events([&] { MakeAndDeleteEvents(); });
            std::vector<std::jthread> recorders;
            for (unsigned int stream = 1; stream <= 4; ++stream) {
                recorders.emplace_back(
                    [this, stream, &used = ticksUsed[stream - 1]] { used = RecordRounds(stream); });
            }
        }
        isDone_ = true;
    }
    ExpectConsistent(Path());
    ExpectConsistent(root_.Path() / "copy.db");
    for (unsigned int stream = 1; stream <= 4; ++stream) {
        EXPECT_EQ(store_.ReserveTicks(stream, 1), ticksUsed[stream - 1]);
    }
}

} // namespace
} // namespace workstation::store

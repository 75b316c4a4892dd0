// A process that is interrupted at any moment leaves nothing in the shared tables.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <random>

#include "support/ChildProcess.h"
#include "support/Execute.h"
#include "support/Files.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

class InterruptTest : public testing::TestWithParam<char const*> {
protected:
    InterruptTest() { root_.MakePool(2); }

    // Starts a worker, interrupts it after a random time, and returns its exit status.
    int InterruptWorker() {
        ChildProcess worker([](ChildProcess::Parent const& parent) {
            dup2(parent.Out(), STDOUT_FILENO);
            setenv("ASAN_OPTIONS", "detect_leaks=0", 1);    // an interrupted process has leaks
            setenv("TSAN_OPTIONS", "atexit_sleep_ms=0", 1); // its threads do not end either
            return Execute({INTERRUPTED_WORKER, GetParam()});
        });
        EXPECT_TRUE(worker.Await());
        usleep(static_cast<useconds_t>(random_() % 1500));
        worker.Signal(SIGINT);
        return worker.Wait();
    }

    // Records in use with their slots, and controllers. A slot in a free record means nothing.
    int Traces() const {
        std::string const table = BytesOf(root_.ProcessTable());
        int traces = 0;
        for (std::size_t record = 28; record + 772 <= table.size(); record += 772) {
            if (table.substr(record, 4) == std::string(4, '\0')) {
                continue;
            }
            ++traces;
            for (std::size_t slot = record + 4; slot < record + 772; slot += 12) {
                traces += table.substr(slot, 4) != std::string(4, '\0');
            }
        }
        auto const image = PoolImage::Open(root_.Pool());
        for (int number = 1; number <= 2; ++number) {
            traces += image->Get(number, EntryWord::controller) != 0;
        }
        return traces;
    }

    TestRoot root_;
    std::mt19937 random_{4711};
};

TEST_P(InterruptTest, ExitIs255AndNothingStays) {
    constexpr bool isEmulated = *TEST_EMULATOR != '\0'; // every start takes its time
    for (int round = 0; round < (isEmulated ? 20 : 200); ++round) {
        ASSERT_EQ(InterruptWorker(), 255) << "round " << round;
        ASSERT_EQ(Traces(), 0) << "round " << round;
    }
}

INSTANTIATE_TEST_SUITE_P(Workers, InterruptTest, testing::Values("read", "write", "threads"),
                         [](auto const& worker) { return std::string(worker.param); });

} // namespace
} // namespace workstation::pool

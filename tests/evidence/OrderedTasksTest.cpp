// Tasks that run at the same time and pass on their results in order.
#include "evidence/OrderedTasks.h"

#include <numeric>
#include <stdexcept>
#include <vector>

using namespace workstation::evidence;

namespace {

TEST(OrderedTasksTest, EachTaskRunsOnceAndTurnsComeInOrder) {
    constexpr std::size_t count = 500;
    std::vector<std::size_t> order;
    Turns turns;
    RunTasks(count, [&](std::size_t task) {
        Turn turn(turns, task);
        turn.Await();
        order.push_back(task);
    });
    std::vector<std::size_t> expected(count);
    std::iota(expected.begin(), expected.end(), 0U);
    EXPECT_EQ(order, expected);
}

TEST(OrderedTasksTest, NoTaskIsNoWork) {
    RunTasks(0, [](std::size_t task) { FAIL() << task; });
}

TEST(OrderedTasksTest, TaskThatFailsHoldsUpNoOtherAndItsFailureIsThrown) {
    Turns turns;
    EXPECT_THROW(RunTasks(100,
                          [&](std::size_t task) {
                              Turn turn(turns, task);
                              if (task == 3) {
                                  throw std::runtime_error("three");
                              }
                              turn.Await();
                          }),
                 std::runtime_error);
}

} // namespace

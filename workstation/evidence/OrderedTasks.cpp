// Work on several slots at once whose results come out in order.
#include "evidence/OrderedTasks.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <thread>
#include <vector>

namespace workstation::evidence {

void RunTasks(std::size_t count, std::function<void(std::size_t task)> const& work) {
    std::atomic<std::size_t> next = 0;
    std::mutex mutex;
    std::exception_ptr failure;
    auto const run = [&] {
        for (std::size_t task = next++; task < count; task = next++) {
            try {
                work(task);
            } catch (...) {
                std::lock_guard const lock(mutex);
                failure = failure ? failure : std::current_exception();
                next = count;
            }
        }
    };
    {
        std::size_t const processors = std::max(std::thread::hardware_concurrency(), 1U);
        std::vector<std::jthread> helpers;
        for (std::size_t thread = 1; thread < std::min(processors, count); ++thread) {
            helpers.emplace_back(run);
        }
        run();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace workstation::evidence

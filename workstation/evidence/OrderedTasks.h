// Work on several slots at once whose results come out in order.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>

namespace workstation::evidence {

// The order in which tasks that run at the same time may pass on their results.
class Turns {
public:
    // Waits until all tasks before this one have ended.
    void Await(std::size_t task) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return turn_ == task; });
    }

    void End() {
        std::lock_guard const lock(mutex_);
        ++turn_;
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t turn_ = 0;
};

// The turn of one task. Every task must have one, also one that fails: the next wait for its end.
class Turn {
public:
    Turn(Turns& turns, std::size_t task)
        : turns_(turns)
        , task_(task) {}
    ~Turn() {
        Await();
        turns_.End();
    }

    Turn(Turn const&) = delete;
    Turn& operator=(Turn const&) = delete;

    void Await() { turns_.Await(task_); }

private:
    Turns& turns_;
    std::size_t task_;
};

// Calls `work` for 0 to count - 1, each once, from one thread for each processor; an exception that
// leaves it ends the calls and is thrown here.
void RunTasks(std::size_t count, std::function<void(std::size_t task)> const& work);

} // namespace workstation::evidence

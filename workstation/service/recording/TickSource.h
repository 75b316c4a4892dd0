// Where the numbers of a stream's system ticks come from.
#pragma once

#include <cstdint>

namespace workstation::service::recording {

// Of one stream. Called in its recording's thread. Throws a std::exception when an operation cannot
// do its work.
class TickSource {
public:
    virtual ~TickSource() = default;

    // Reserves the `count` numbers that follow those reserved before, and returns the first. They
    // stay reserved even if the process dies.
    virtual std::uint32_t ReserveTicks(std::uint32_t count) = 0;

    // Returns the reserved numbers from `next` on: they have not been used.
    virtual void ReturnTicks(std::uint32_t next) = 0;
};

} // namespace workstation::service::recording

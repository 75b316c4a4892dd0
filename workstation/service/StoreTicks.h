// The numbers of system ticks, as the event database hands them out.
#pragma once

#include "service/recording/RecordingTarget.h"
#include "service/store/EventStore.h"

namespace workstation {

class StoreTicks : public TickSource {
public:
    explicit StoreTicks(EventStore& store)
        : store_(store) {}

    std::uint32_t ReserveTicks(int stream, std::uint32_t count) override {
        return store_.ReserveTicks(static_cast<unsigned int>(stream), count);
    }
    void ReturnTicks(int stream, std::uint32_t next) override {
        store_.ReturnTicks(static_cast<unsigned int>(stream), next);
    }

private:
    EventStore& store_;
};

} // namespace workstation

// The numbers of a stream's system ticks, as the event database counts them.
#pragma once

#include <string>

#include "service/recording/TickSource.h"
#include "service/ring/Retry.h"
#include "store/EventStore.h"

namespace workstation::service::ring {

// While the database cannot be used, reserving waits.
class DatabaseTickSource : public recording::TickSource {
public:
    // What is passed by reference outlives the object.
    DatabaseTickSource(int stream, store::EventStore& store, recording::StopEvent const& stop,
                       recording::RecordingStatus& status)
        : stream_(static_cast<unsigned int>(stream))
        , store_(store)
        , retry_(stream, stop, status) {}

    std::uint32_t ReserveTicks(std::uint32_t count) override {
        return retry_.Insist("number ticks", [&] { return store_.ReserveTicks(stream_, count); });
    }
    void ReturnTicks(std::uint32_t next) override { store_.ReturnTicks(stream_, next); }

private:
    unsigned int stream_;
    store::EventStore& store_;
    Retry retry_;
};

} // namespace workstation::service::ring

// Puts the packets of RTP datagrams back into the order in which they were sent.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "service/recording/UdpDatagram.h"

namespace workstation::service::recording {

// A datagram that comes too early waits for those before it, until 32 wait or the first has waited
// for 50 ms; what has not come by then is lost. A second one with the same number is left out, and
// so is one that comes when its place has passed. Where the numbers jump, or the sender changes,
// the order begins again.
class RtpOrder {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Bytes = std::vector<unsigned char>;

    // Takes the packets of a datagram that has arrived, and appends those that are next to `out`.
    void Add(RtpHeader const& header, std::span<unsigned char const> packets, Time now, Bytes& out);

    // Appends what has waited long enough to `out`.
    void Release(Time now, Bytes& out);

    // When Release has something to do; null when nothing waits.
    std::optional<Time> Due() const;

private:
    struct Waiting {
        Bytes packets;
        Time due;
    };

    std::uint64_t Extended(std::uint16_t sequence) const;
    void Restart(RtpHeader const& header, Bytes& out);
    void ReleaseFirst(Bytes& out);
    void ReleaseNext(Bytes& out);

    std::optional<std::uint32_t> sender_;      // null before the first datagram
    std::uint64_t next_ = 0;                   // the number that is next; it does not wrap
    std::map<std::uint64_t, Waiting> waiting_; // by number, each above next_
};

} // namespace workstation::service::recording

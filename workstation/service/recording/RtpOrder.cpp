// Puts the packets of RTP datagrams back into the order in which they were sent.
#include "service/recording/RtpOrder.h"

#include <algorithm>

namespace workstation::service::recording {
namespace {

constexpr std::size_t longestQueue = 32;
constexpr std::chrono::milliseconds longestWait(50);

// How far a number may be from the next one. Farther away, the sender has begun again.
constexpr std::int64_t latest = -100;
constexpr std::int64_t earliest = 1000;

// Numbers begin here, so that a late one is not below 0.
constexpr std::uint64_t origin = std::uint64_t{1} << 32;

} // namespace

void RtpOrder::Add(RtpHeader const& header, std::span<unsigned char const> packets, Time now,
                   Bytes& out) {
    auto const number = Extended(header.sequence);
    auto const distance = static_cast<std::int64_t>(number - next_);
    if (sender_ != header.sender || distance < latest || distance > earliest) {
        Restart(header, out);
        Add(header, packets, now, out);
        return;
    }
    if (distance < 0) {
        return;
    }
    if (distance > 0) {
        waiting_.try_emplace(number,
                             Waiting{Bytes(packets.begin(), packets.end()), now + longestWait});
        Release(now, out);
        return;
    }
    out.insert(out.end(), packets.begin(), packets.end());
    ++next_;
    ReleaseNext(out);
}

void RtpOrder::Release(Time now, Bytes& out) {
    while (waiting_.size() > longestQueue || (Due() && *Due() <= now)) {
        ReleaseFirst(out);
        ReleaseNext(out);
    }
}

std::optional<RtpOrder::Time> RtpOrder::Due() const {
    auto const first =
        std::ranges::min_element(waiting_, {}, [](auto const& entry) { return entry.second.due; });
    return first == waiting_.end() ? std::nullopt : std::optional(first->second.due);
}

// The number nearest to the next one that ends with these 16 bits.
std::uint64_t RtpOrder::Extended(std::uint16_t sequence) const {
    auto const distance = static_cast<std::int16_t>(sequence - static_cast<std::uint16_t>(next_));
    return next_ + static_cast<std::uint64_t>(std::int64_t{distance});
}

void RtpOrder::Restart(RtpHeader const& header, Bytes& out) {
    while (!waiting_.empty()) {
        ReleaseFirst(out);
    }
    sender_ = header.sender;
    next_ = origin + header.sequence;
}

// Gives up what has not come before the first one that waits.
void RtpOrder::ReleaseFirst(Bytes& out) {
    auto const first = waiting_.begin();
    out.insert(out.end(), first->second.packets.begin(), first->second.packets.end());
    next_ = first->first + 1;
    waiting_.erase(first);
}

void RtpOrder::ReleaseNext(Bytes& out) {
    while (!waiting_.empty() && waiting_.begin()->first == next_) {
        ReleaseFirst(out);
    }
}

} // namespace workstation::service::recording

// A live source of a recording: packets through a FIFO in real time, and when they were taken.
#include "powercut/Feed.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "e2e/Child.h"

namespace powercut {
namespace {

using workstation::ts::tsPacketSize;

// How often packets are offered: more often than a camera sends them.
constexpr std::chrono::milliseconds step(5);

// Takes what is offered in a step at the highest rate of these tests.
constexpr int pipeSize = 1 << 20;

// The most that is made at a time.
constexpr std::size_t mostPending = 64 * tsPacketSize;

} // namespace

Feed::Feed(std::filesystem::path path, PacketName const& first, PacketRate const& rate,
           std::uint64_t count)
    : path_(std::move(path))
    , first_(first)
    , rate_(rate)
    , count_(count) {
    // Open for reading as well, the FIFO takes data while no other process has it open.
    if (mkfifo(path_.c_str(), 0600) != 0 ||
        !(fifo_ =
              workstation::FileDescriptor(open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC)))) {
        throw std::system_error(errno, std::generic_category(), path_);
    }
    fcntl(fifo_.Get(), F_SETPIPE_SZ, pipeSize);
}

Feed::~Feed() {
    Stop();
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void Feed::Begin() {
    thread_ = std::thread([this] { Run(Clock::now()); });
}

void Feed::Stop() {
    ends_ = true;
    if (thread_.joinable()) {
        thread_.join();
    }
}

std::uint64_t Feed::TakenAt(Clock::time_point time) const {
    auto const after = std::ranges::upper_bound(samples_, time, {}, &Sample::time);
    return after == samples_.begin() ? 0 : std::prev(after)->bytes / tsPacketSize;
}

Clock::time_point Feed::TimeOf(std::uint64_t packets) const {
    auto const at = std::ranges::lower_bound(samples_, packets * tsPacketSize, {}, &Sample::bytes);
    if (samples_.empty()) {
        return Clock::now();
    }
    return at == samples_.end() ? samples_.back().time : at->time;
}

bool Feed::AwaitAllTaken() const {
    auto const deadline = Clock::now() + e2e::patience;
    while (!allTaken_ && Clock::now() < deadline) {
        poll(nullptr, 0, 5); // the reader of a FIFO notifies no process of what it has read
    }
    return allTaken_;
}

void Feed::Run(Clock::time_point start) {
    for (auto due = start; !ends_; due += step) {
        std::this_thread::sleep_until(due);
        auto const elapsed =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
        auto packets =
            static_cast<std::uint64_t>(elapsed.count()) * rate_.packetsPerSecond / 1000000;
        Offer(count_ == 0 ? packets : std::min(packets, count_));
        Note();
    }
    Note();
}

// Offers all packets up to a number, as far as the FIFO takes them.
void Feed::Offer(std::uint64_t packetsDue) {
    while (!ends_ && Write() && made_ < packetsDue) {
        while (made_ < packetsDue && pending_.size() < mostPending) {
            PacketName const name{first_.stream, first_.run, first_.index + made_};
            Packet const packet = SequencePacket(name, rate_);
            pending_.insert(pending_.end(), packet.begin(), packet.end());
            ++made_;
        }
    }
    Write();
}

// True when nothing is pending.
bool Feed::Write() {
    if (pending_.empty()) {
        return true;
    }
    ssize_t const count = write(fifo_.Get(), pending_.data(), pending_.size());
    if (count > 0) {
        written_ += static_cast<std::uint64_t>(count);
        pending_.erase(pending_.begin(), pending_.begin() + count);
    }
    return pending_.empty();
}

// What was written and waits in the FIFO no more has been taken.
void Feed::Note() {
    int waiting = 0;
    if (ioctl(fifo_.Get(), FIONREAD, &waiting) != 0) {
        return;
    }
    std::uint64_t const taken = written_ - static_cast<std::uint64_t>(waiting);
    samples_.push_back({Clock::now(), taken});
    allTaken_ = count_ != 0 && taken == count_ * tsPacketSize;
}

} // namespace powercut

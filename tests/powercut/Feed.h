// A live source of a recording: packets through a FIFO in real time, and when they were taken.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <thread>
#include <vector>

#include "FileDescriptor.h"
#include "powercut/SequencePacket.h"

namespace powercut {

using Clock = std::chrono::steady_clock;

// Offers packets at their rate from the construction on, and notes how many of them the reader of
// the FIFO has taken.
class Feed {
public:
    // Makes the FIFO. `first` is the packet to begin with; `count` the number of packets, 0 for
    // packets until the end.
    Feed(std::filesystem::path path, PacketName const& first, PacketRate const& rate,
         std::uint64_t count = 0);
    ~Feed();

    Feed(Feed const&) = delete;
    Feed& operator=(Feed const&) = delete;

    std::filesystem::path const& Path() const { return path_; }
    int Stream() const { return first_.stream; }
    std::uint32_t Run() const { return first_.run; }
    PacketRate const& Rate() const { return rate_; }

    // Begins to offer packets.
    void Begin();

    // Offers no more packets.
    void Stop();

    // How many whole packets the reader has taken at that time, at least. After Stop.
    std::uint64_t TakenAt(Clock::time_point time) const;

    // When so many packets were taken; the last known time if they were not. After Stop.
    Clock::time_point TimeOf(std::uint64_t packets) const;

    // Waits until the reader has taken all `count` packets. False when it does not.
    bool AwaitAllTaken() const;

private:
    struct Sample {
        Clock::time_point time;
        std::uint64_t bytes; // taken at this time, at least
    };

    void Run(Clock::time_point start);
    void Offer(std::uint64_t packetsDue);
    bool Write();
    void Note();

    std::filesystem::path path_;
    PacketName first_;
    PacketRate rate_;
    std::uint64_t count_;
    workstation::FileDescriptor fifo_;
    std::vector<unsigned char> pending_; // made and not yet written
    std::uint64_t made_ = 0;             // packets
    std::uint64_t written_ = 0;          // bytes
    std::vector<Sample> samples_;
    std::atomic<bool> ends_ = false;
    std::atomic<bool> allTaken_ = false;
    std::thread thread_;
};

} // namespace powercut

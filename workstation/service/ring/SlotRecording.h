// A recording into the ring.
#pragma once

#include <memory>
#include <string>

#include "service/Notices.h"
#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingTarget.h"
#include "service/ring/FileRing.h"
#include "service/ring/RingFile.h"
#include "service/ring/SlotFiller.h"

namespace workstation::service::ring {

// Fills file after file, with ticks that the event database numbers, and posts when it begins and
// ends. Where the ring has no file for it, the disk no room, or the database cannot be used, it
// says so and waits.
class SlotRecording : public recording::RecordingTarget,
                      public recording::TickSource,
                      private SlotSink {
public:
    SlotRecording(int stream, FileRing& ring, store::EventStore& store, Notices& notices,
                  recording::RecordingClock& clock);

    void Begin(recording::StopEvent const& stop) override;
    void Write(recording::TickedPackets const& packets, recording::StopEvent const& stop) override;
    void End() override;

    // Between Begin and End.
    std::uint32_t ReserveTicks(int stream, std::uint32_t count) override;
    void ReturnTicks(int stream, std::uint32_t next) override;

private:
    bool OpenSlot(recording::StopEvent const& stop) override;
    void WriteSlot(std::span<unsigned char const> packets, SlotContents const& contents) override;
    void CloseSlot(SlotContents const& contents) override;

    template <typename Operation>
    auto Insist(std::string const& what, Operation operation) const;
    std::unique_ptr<RingFile> TakeFile() const;
    std::int64_t WallSeconds() const;
    void Log(std::string const& text) const;

    int stream_;
    FileRing& ring_;
    store::EventStore& store_;
    Notices& notices_;
    recording::RecordingClock& clock_;
    recording::StopEvent const* stop_ = nullptr; // of the recording
    SlotFiller filler_{*this};
    std::unique_ptr<RingFile> file_;
    store::Event recording_;
};

} // namespace workstation::service::ring

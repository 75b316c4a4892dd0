// Records into one stream file after another: the file chain of a stream.
#pragma once

#include <memory>

#include "service/ring/FileAllocator.h"
#include "service/ring/FileBeingRecorded.h"
#include "service/ring/Retry.h"
#include "service/ring/SlotCutter.h"

namespace workstation::service::ring {

// When there is no file to record into, the disk has no space or the database cannot be used, it
// logs this once and waits.
class FileChainWriter : public SlotSink {
public:
    // What is passed by reference outlives the object.
    FileChainWriter(int stream, FileAllocator& files, recording::StopEvent const& stop,
                    recording::RecordingStatus& status);

    bool OpenSlot() override;
    std::size_t Room() const override { return file_->Room(); }
    void WriteSlot(std::span<unsigned char const> packets,
                   std::optional<TickRange> const& ticks) override;
    void CloseSlot() override;

    // The last tick that was written; null before the first.
    std::optional<recording::TickStamp> const& LastTick() const { return lastTick_; }

    // Leaves a file whose slot could not be closed to the recovery at the next start.
    void AbandonFile();

private:
    recording::TickStamp NextTick() const;
    std::unique_ptr<FileBeingRecorded> TakeFile() const;
    std::unique_ptr<FileBeingRecorded> AwaitFile() const;
    void Leave();

    int stream_;
    FileAllocator& files_;
    recording::RecordingStatus& status_;
    Retry retry_;
    std::unique_ptr<FileBeingRecorded> file_;
    std::optional<recording::TickStamp> lastTick_;
};

} // namespace workstation::service::ring

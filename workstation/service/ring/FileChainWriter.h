// Records into one stream file after another: the file chain of a stream.
#pragma once

#include <memory>

#include "service/recording/RecordingClock.h"
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
    FileChainWriter(int stream, FileAllocator& files, recording::RecordingClock& clock,
                    recording::StopEvent const& stop);

    bool OpenSlot() override;
    void WriteSlot(std::span<unsigned char const> packets, SlotContents const& contents) override;
    void CloseSlot(SlotContents const& contents) override;

    // Leaves a file whose slot could not be closed to the recovery at the next start.
    void AbandonFile();

private:
    std::unique_ptr<FileBeingRecorded> TakeFile() const;
    std::int64_t WallSeconds() const;

    int stream_;
    FileAllocator& files_;
    recording::RecordingClock& clock_;
    Retry retry_;
    std::unique_ptr<FileBeingRecorded> file_;
};

} // namespace workstation::service::ring

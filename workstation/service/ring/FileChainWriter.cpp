// Records into one stream file after another: the file chain of a stream.
#include "service/ring/FileChainWriter.h"

#include "pool/PoolLayout.h"
#include "service/ring/StreamLog.h"

namespace workstation::service::ring {

FileChainWriter::FileChainWriter(int stream, FileAllocator& files, recording::StopEvent const& stop,
                                 recording::RecordingStatus& status)
    : stream_(stream)
    , files_(files)
    , status_(status)
    , retry_(stream, stop, status) {}

bool FileChainWriter::OpenSlot() {
    file_ = AwaitFile();
    if (!file_) {
        return false;
    }
    LogForStream(stream_, "recording into " + pool::StreamFileName(file_->Number()),
                 log::Severity::info);
    status_.RecordsInto(file_->Number());
    return true;
}

// Null when the recording is to stop before there is a file.
std::unique_ptr<FileBeingRecorded> FileChainWriter::AwaitFile() const {
    Retry::Problem problem(retry_);
    auto file = TakeFile();
    while (!file) {
        problem.Is("no file to record into: events hold them all, or others write them");
        if (!retry_.WaitForNextTry()) {
            return nullptr;
        }
        file = TakeFile();
    }
    return file;
}

std::unique_ptr<FileBeingRecorded> FileChainWriter::TakeFile() const {
    return retry_.Insist("take a stream file", [&] { return files_.Take(stream_); });
}

void FileChainWriter::WriteSlot(std::span<unsigned char const> packets,
                                std::optional<TickRange> const& ticks) {
    retry_.Insist("record into " + pool::StreamFileName(file_->Number()),
                  [&] { file_->Append(packets, ticks, NextTick()); });
    if (ticks) {
        lastTick_ = ticks->last;
    }
}

// A recording begins with a tick: its first file needs no other.
recording::TickStamp FileChainWriter::NextTick() const {
    return lastTick_ ? recording::TickStamp{lastTick_->tick + 1, lastTick_->time}
                     : recording::TickStamp{};
}

void FileChainWriter::CloseSlot() {
    retry_.Insist("finish " + pool::StreamFileName(file_->Number()), [&] { file_->Finish(); });
    Leave();
}

void FileChainWriter::AbandonFile() {
    LogForStream(stream_,
                 pool::StreamFileName(file_->Number()) + " is left for the next start to finish",
                 log::Severity::warning);
    Leave();
}

void FileChainWriter::Leave() {
    file_.reset();
    status_.RecordsInto(std::nullopt);
}

} // namespace workstation::service::ring

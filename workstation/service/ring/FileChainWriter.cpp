// Records into one stream file after another: the file chain of a stream.
#include "service/ring/FileChainWriter.h"

#include "pool/PoolLayout.h"
#include "service/ring/StreamLog.h"

namespace workstation::service::ring {

FileChainWriter::FileChainWriter(int stream, FileAllocator& files, recording::StopEvent const& stop)
    : stream_(stream)
    , files_(files)
    , retry_(stream, stop) {}

bool FileChainWriter::OpenSlot() {
    file_ = TakeFile();
    if (!file_) {
        LogForStream(stream_, "no file to record into: events hold them all, or others write them");
    }
    while (!file_) {
        if (!retry_.WaitForNextTry()) {
            return false;
        }
        file_ = TakeFile();
    }
    LogForStream(stream_, "recording into " + pool::StreamFileName(file_->Number()));
    return true;
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
    file_.reset();
}

void FileChainWriter::AbandonFile() {
    LogForStream(stream_,
                 pool::StreamFileName(file_->Number()) + " is left for the next start to finish");
    file_.reset();
}

} // namespace workstation::service::ring

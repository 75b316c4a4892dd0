// Records into one stream file after another: the file chain of a stream.
#include "service/ring/FileChainWriter.h"

#include <chrono>

#include "pool/PoolLayout.h"
#include "service/ring/StreamLog.h"

namespace workstation::service::ring {

FileChainWriter::FileChainWriter(int stream, FileAllocator& files, recording::RecordingClock& clock,
                                 recording::StopEvent const& stop)
    : stream_(stream)
    , files_(files)
    , clock_(clock)
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
                                SlotContents const& contents) {
    retry_.Insist("record into " + pool::StreamFileName(file_->Number()),
                  [&] { file_->Append(packets, contents, WallSeconds()); });
}

void FileChainWriter::CloseSlot(SlotContents const& contents) {
    retry_.Insist("finish " + pool::StreamFileName(file_->Number()),
                  [&] { file_->Finish(contents, WallSeconds()); });
    file_.reset();
}

void FileChainWriter::AbandonFile() {
    LogForStream(stream_,
                 pool::StreamFileName(file_->Number()) + " is left for the next start to finish");
    file_.reset();
}

std::int64_t FileChainWriter::WallSeconds() const {
    return std::chrono::system_clock::to_time_t(clock_.WallNow());
}

} // namespace workstation::service::ring

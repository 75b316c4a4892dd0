// Chooses the stream file that a recording continues in.
#include "service/ring/FileAllocator.h"

#include "pool/StreamFile.h"
#include "service/ring/FreeFile.h"

namespace workstation::service::ring {
namespace {

pool::StreamFile::Controller ControllerOf(int stream) {
    return static_cast<pool::StreamFile::Controller>(StreamMgrFileMgmnt::ControlStream1 + stream -
                                                     1);
}

} // namespace

std::unique_ptr<FileBeingRecorded> FileAllocator::Take(int stream) {
    std::lock_guard const lock(mutex_);
    auto file = TakeFree(stream);
    if (!file && reaper_.WipeOldest()) {
        file = TakeFree(stream);
    }
    if (!file) {
        return nullptr;
    }
    // That the file is empty and unknown is durable before the database says that it is recorded
    // into: after a loss of power, no length of its former contents covers new ones.
    session_.Pool().MarkKnown(file->Number(), false);
    session_.Pool().SyncTable();
    return std::make_unique<FileBeingRecorded>(std::move(file), session_.Pool(), stream, store_,
                                               flusher_);
}

unsigned int FileAllocator::Reap() {
    std::lock_guard const lock(mutex_);
    return reaper_.Reap();
}

// Begins after the file that was taken last, so that the whole pool is used evenly.
std::unique_ptr<pool::StreamFile> FileAllocator::TakeFree(int stream) {
    pool::PoolImage const& image = session_.Pool();
    store::HeldFiles const held = store_.FilesHeldByEvents();
    for (int step = 0; step < image.FileCount(); ++step) {
        int const number = (lastTaken_ + step) % image.FileCount() + 1;
        if (!IsFree(image, number) || held.inBuffer.contains(number) ||
            held.notInBuffer.contains(number)) {
            continue;
        }
        auto file = pool::StreamFile::TryOpenForWriting(session_, number, ControllerOf(stream));
        if (!file) {
            continue; // another process was faster
        }
        lastTaken_ = number;
        return file;
    }
    return nullptr;
}

} // namespace workstation::service::ring

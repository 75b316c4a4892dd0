// The ring in which routine recordings go round in the pool.
#include "service/ring/FileRing.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <string>

#include "log/PlatformLog.h"
#include "service/ring/KnownFile.h"

namespace workstation::service::ring {
namespace {

StreamMgrFileMgmnt::Control_t ControllerOf(int stream) {
    return static_cast<StreamMgrFileMgmnt::Control_t>(StreamMgrFileMgmnt::ControlStream1 + stream -
                                                      1);
}

} // namespace

std::unique_ptr<RingFile> FileRing::Take(int stream) {
    std::lock_guard const lock(mutex_);
    auto file = TakeFree(stream);
    if (!file && WipeOldest()) {
        file = TakeFree(stream);
    }
    return file;
}

unsigned int FileRing::Reap() {
    std::lock_guard const lock(mutex_);
    auto const poolSize = static_cast<int>(pool_.GetFilePoolSize());
    int const wanted = (poolSize + 9) / 10;
    int free = 0;
    for (int number = 1; number <= poolSize; ++number) {
        free += IsFree(number) ? 1 : 0;
    }
    unsigned int wiped = 0;
    while (free < wanted && WipeOldest()) {
        ++free;
        ++wiped;
    }
    return wiped;
}

// Goes on behind the file that was taken last, so that the pool wears evenly.
std::unique_ptr<RingFile> FileRing::TakeFree(int stream) {
    store::HeldFiles const held = store_.FilesHeldByEvents();
    auto const poolSize = static_cast<int>(pool_.GetFilePoolSize());
    for (int step = 0; step < poolSize; ++step) {
        int const number = (lastTaken_ + step) % poolSize + 1;
        if (!IsFree(number) || held.inBuffer.contains(number) ||
            held.behindBuffer.contains(number)) {
            continue;
        }
        auto file = std::make_unique<StreamFileAccess>(number, false, ControllerOf(stream));
        if (!file->IsOpen()) {
            continue; // somebody was quicker, or its table entry is damaged
        }
        lastTaken_ = number;
        return std::make_unique<RingFile>(std::move(file), number, stream, store_);
    }
    return nullptr;
}

// In this order nothing is lost or forgotten wherever the process dies: the start of the service
// finishes a wipe that the database knows of.
bool FileRing::WipeOldest() {
    auto const oldest = store_.OldestUnprotected();
    if (!oldest) {
        return false;
    }
    StreamFileAccess file(oldest->fileNumber, false, StreamMgrFileMgmnt::ControlPrimaryThread);
    if (!file.IsOpen() || !store_.Wipe(oldest->id)) {
        return false;
    }
    file.Truncate(0);
    MarkKnown(oldest->fileNumber, false);
    log::LogNote("wiped stream file " + std::to_string(oldest->fileNumber) + " of stream " +
                 std::to_string(oldest->stream));
    return true;
}

bool FileRing::IsFree(int number) const {
    StreamMgrFileMgmnt::FileMgmnt_t file{};
    return pool_.GetFileInfo(number, file) && file.fileSize == 0 &&
           file.writeController == StreamMgrFileMgmnt::ControlUnknown;
}

} // namespace workstation::service::ring

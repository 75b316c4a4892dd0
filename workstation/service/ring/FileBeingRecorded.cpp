// The stream file that a recording is being written into.
#include "service/ring/FileBeingRecorded.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "Failure.h"
#include "service/ring/Flusher.h"
#include "ts/TsPacket.h"

namespace workstation::service::ring {

FileBeingRecorded::FileBeingRecorded(std::unique_ptr<pool::StreamFile> file, pool::PoolImage& image,
                                     int stream, store::EventStore& store, Flusher& flusher)
    : file_(std::move(file))
    , image_(image)
    , stream_(static_cast<unsigned int>(stream))
    , store_(store)
    , flusher_(flusher) {
    flusher_.Add(*this);
}

FileBeingRecorded::~FileBeingRecorded() {
    flusher_.Remove(*this);
}

std::size_t FileBeingRecorded::Room() const {
    std::lock_guard const lock(mutex_);
    return pool::poolSlotSize - written_.size;
}

void FileBeingRecorded::Append(std::span<unsigned char const> packets,
                               std::optional<TickRange> const& ticks, recording::TickStamp next) {
    if (!link_) {
        standIn_ = next;
        BeginLink(ticks ? ticks->first : next);
    }
    if (ticks && !hasTick_) {
        CorrectFirstTick(ticks->first.tick);
        hasTick_ = true;
    }
    bool isFirst = false;
    {
        std::lock_guard const lock(mutex_);
        Write(packets);
        checksum_.Add(packets);
        nextChecksum_.Add(packets);
        isFirst = written_.size == 0;
        written_.Add(packets.size(), ticks);
        Mark();
    }
    if (isFirst) {
        flusher_.FlushSoon();
    }
}

void FileBeingRecorded::BeginLink(recording::TickStamp first) {
    auto const link = store_.BeginFile(stream_, Number(), first.time, first.tick);
    if (!link) {
        throw Failure(EBUSY, "an event holds it");
    }
    std::lock_guard const lock(mutex_);
    link_ = link;
    knownFirstTick_ = first.tick;
}

// The text of a Failure is that of the errno alone: the log entry names the file.
void FileBeingRecorded::Write(std::span<unsigned char const> packets) {
    auto const count = static_cast<unsigned int>(packets.size());
    int error = 0;
    try {
        file_->Seek(static_cast<long>(written_.size));
        error = file_->Write(packets.data(), count) == count ? 0 : ENOSPC;
    } catch (Failure const& failure) {
        error = failure.Error();
    }
    if (error != 0) {
        throw Failure(error, std::strerror(error));
    }
}

// Marks all that is not stated, also before it is flushed: after a kill it is kept as well.
void FileBeingRecorded::Mark() {
    WriteFlushMark(image_, stream_, turn_,
                   {*link_, static_cast<std::uint32_t>(stated_.size),
                    static_cast<std::uint32_t>(written_.size), checksum_.Value()});
}

void FileBeingRecorded::CorrectFirstTick(std::uint32_t tick) {
    if (tick != knownFirstTick_) {
        store_.SetFirstTick(*link_, tick);
        knownFirstTick_ = tick;
    }
}

void FileBeingRecorded::Finish() {
    if (!link_) {
        return;
    }
    flusher_.Flush();
    SlotContents const contents = StatedContents();
    image_.SyncTable(); // before the database says that the file is finished
    TickRange const ticks = contents.ticks.value_or(TickRange{standIn_, standIn_});
    CorrectFirstTick(ticks.first.tick);
    store_.FinishFile(*link_, static_cast<unsigned int>(contents.size), ticks.last.time,
                      ticks.last.tick);
    image_.MarkKnown(Number(), true);
}

SlotContents FileBeingRecorded::StatedContents() const {
    std::lock_guard const lock(mutex_);
    if (stated_.size != written_.size) {
        throw Failure(EIO, "it cannot be made durable");
    }
    return stated_;
}

bool FileBeingRecorded::BeginFlush() {
    std::lock_guard const lock(mutex_);
    if (written_.size == stated_.size) {
        return false;
    }
    flushing_ = written_;
    nextChecksum_.Restart();
    ++turn_;
    return true;
}

void FileBeingRecorded::EndFlush() {
    std::lock_guard const lock(mutex_);
    file_->SetLength(static_cast<long>(flushing_.size));
    stated_ = flushing_;
    std::swap(checksum_, nextChecksum_);
    Mark();
}

// After a failure the kernel takes the pages that it could not write for clean: the next flush
// would succeed without them. So they are written again, from the kernel's own copy.
std::size_t FileBeingRecorded::FlushFailed() {
    std::lock_guard const lock(mutex_);
    if (WriteAgain()) {
        return 0;
    }
    std::size_t const lost = written_.size - stated_.size;
    GiveUp();
    return lost;
}

// False when the bytes are no longer those that were appended, or cannot be written.
bool FileBeingRecorded::WriteAgain() {
    RunningChecksum checksum;
    std::vector<unsigned char> block(ts::tsBlockSize);
    try {
        for (std::size_t offset = stated_.size; offset < written_.size; offset += block.size()) {
            block.resize(std::min(block.size(), written_.size - offset));
            auto const count = static_cast<unsigned int>(block.size());
            file_->Seek(static_cast<long>(offset));
            file_->Read(block.data(), count, true);
            file_->Seek(static_cast<long>(offset));
            file_->Write(block.data(), count);
            checksum.Add(block);
        }
    } catch (Failure const&) {
        return false;
    }
    return checksum.Value() == checksum_.Value();
}

void FileBeingRecorded::GiveUp() {
    for (unsigned int turn = 0; turn < 2; ++turn) {
        WriteFlushMark(image_, stream_, turn_ - turn, {});
    }
    written_ = stated_;
    checksum_.Restart();
}

} // namespace workstation::service::ring

// The stream file that a recording is being written into.
#include "service/ring/FileBeingRecorded.h"

#include <cerrno>
#include <cstring>

#include "Failure.h"
#include "service/ring/Flusher.h"

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
                               std::optional<TickRange> const& ticks,
                               recording::TickStamp inForce) {
    if (!link_) {
        inForce_ = inForce;
        BeginLink(ticks ? ticks->first : inForce);
    }
    if (ticks && !hasTick_) {
        CorrectFirstTick(ticks->first.tick);
        hasTick_ = true;
    }
    std::lock_guard const lock(mutex_);
    Write(packets);
    checksum_.Add(packets);
    written_.Add(packets.size(), ticks);
    Mark();
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

// What was appended after the last flush began: after a kill, it is kept as well.
void FileBeingRecorded::Mark() {
    WriteFlushMark(image_, stream_, turn_,
                   {*link_, static_cast<std::uint32_t>(flushing_.size),
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
    image_.SyncTable(); // before the database says that the file is finished
    SlotContents const contents = Stated();
    TickRange const ticks = contents.ticks.value_or(TickRange{inForce_, inForce_});
    CorrectFirstTick(ticks.first.tick);
    store_.FinishFile(*link_, static_cast<unsigned int>(contents.size), ticks.last.time,
                      ticks.last.tick);
    image_.MarkKnown(Number(), true);
}

SlotContents FileBeingRecorded::Stated() const {
    std::lock_guard const lock(mutex_);
    return stated_;
}

bool FileBeingRecorded::BeginFlush() {
    std::lock_guard const lock(mutex_);
    if (written_.size == stated_.size) {
        return false;
    }
    ++turn_;
    flushing_ = written_;
    checksum_.Restart();
    return true;
}

void FileBeingRecorded::EndFlush() {
    std::lock_guard const lock(mutex_);
    file_->SetLength(static_cast<long>(flushing_.size));
    stated_ = flushing_;
}

std::size_t FileBeingRecorded::AbandonFlush() {
    std::lock_guard const lock(mutex_);
    std::size_t const lost = written_.size - stated_.size;
    WriteFlushMark(image_, stream_, turn_, {});
    WriteFlushMark(image_, stream_, turn_ - 1, {});
    written_ = stated_;
    flushing_ = stated_;
    checksum_.Restart();
    return lost;
}

} // namespace workstation::service::ring

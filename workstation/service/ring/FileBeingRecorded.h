// The stream file that a recording is being written into.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

#include "pool/StreamFile.h"
#include "service/ring/FlushMark.h"
#include "service/ring/SlotContents.h"
#include "store/EventStore.h"

namespace workstation::service::ring {

class Flusher;

// The table of files states what is durable, and nothing else: the database knows of the file
// before anything is written, and the bytes are flushed before a length covers them. One thread
// appends and finishes; the flusher may be another one.
class FileBeingRecorded {
public:
    // `file` is open for writing, and empty. What is passed by reference outlives the object.
    FileBeingRecorded(std::unique_ptr<pool::StreamFile> file, pool::PoolImage& image, int stream,
                      store::EventStore& store, Flusher& flusher);
    ~FileBeingRecorded();

    FileBeingRecorded(FileBeingRecorded const&) = delete;
    FileBeingRecorded& operator=(FileBeingRecorded const&) = delete;

    int Number() const { return file_->Number(); }

    // How many bytes fit into the file.
    std::size_t Room() const;

    // Appends packets, for which there is room. `ticks` are those among them. `next` is the
    // tick that would come next before them: it stands in for the file's own while there is none.
    // Throws a Failure; can then be repeated.
    void Append(std::span<unsigned char const> packets, std::optional<TickRange> const& ticks,
                recording::TickStamp next);

    // The recording into this file has ended: flushes it. Throws a Failure; can then be repeated.
    void Finish();

    // --- For the flusher, before and after it makes the pool durable ---

    // What was appended is being flushed. False when all of it is stated already.
    bool BeginFlush();

    // What was appended before BeginFlush is durable: states it.
    void EndFlush();

    // The flush failed: writes again what is not stated yet, or gives it up where the kernel has
    // lost it. Returns how many bytes were given up.
    std::size_t FlushFailed();

private:
    void BeginLink(recording::TickStamp first);
    void Write(std::span<unsigned char const> packets);
    void Mark();
    bool WriteAgain();
    void GiveUp();
    void CorrectFirstTick(std::uint32_t tick);
    SlotContents StatedContents() const;

    std::unique_ptr<pool::StreamFile> file_;
    pool::PoolImage& image_;
    unsigned int stream_;
    store::EventStore& store_;
    Flusher& flusher_;

    std::optional<std::int64_t> link_; // in the chain of the stream; null before the first write
    recording::TickStamp standIn_{};   // for the ticks of a file that has none
    bool hasTick_ = false;             // a tick of its own has come
    std::uint32_t knownFirstTick_ = 0; // to the database

    mutable std::mutex mutex_;     // of what follows
    SlotContents written_;         // what was appended
    SlotContents flushing_;        // what is being flushed
    SlotContents stated_;          // what is durable, as the table states
    RunningChecksum checksum_;     // of what was appended after `stated_`
    RunningChecksum nextChecksum_; // of what was appended after `flushing_`
    unsigned int turn_ = 0;        // of the marks
};

} // namespace workstation::service::ring

// The stream file that a recording is being written into.
#include "service/ring/FileBeingRecorded.h"

#include <cerrno>
#include <cstring>

#include "Failure.h"

namespace workstation::service::ring {
namespace {

// What the database states about a file without a tick.
TickRange TicksOf(SlotContents const& contents, std::int64_t now) {
    recording::TickStamp const stamp{0, static_cast<int>(now)};
    return contents.ticks.value_or(TickRange{stamp, stamp});
}

} // namespace

void FileBeingRecorded::Append(std::span<unsigned char const> packets, SlotContents const& contents,
                               std::int64_t now) {
    Write(packets, contents.size - packets.size());
    if (!link_) {
        recording::TickStamp const first = TicksOf(contents, now).first;
        link_ = store_.BeginFile(stream_, Number(), first.time, first.tick);
        if (!link_) {
            throw Failure(EBUSY, "an event holds it");
        }
    }
    file_->SetLength(static_cast<long>(contents.size));
}

// The text of a Failure is that of the errno alone: the log entry names the file.
void FileBeingRecorded::Write(std::span<unsigned char const> packets, std::size_t offset) {
    auto const count = static_cast<unsigned int>(packets.size());
    int error = 0;
    try {
        file_->Seek(static_cast<long>(offset));
        error = file_->Write(packets.data(), count) == count ? 0 : ENOSPC;
    } catch (Failure const& failure) {
        error = failure.Error();
    }
    if (error != 0) {
        throw Failure(error, std::strerror(error));
    }
}

void FileBeingRecorded::Finish(SlotContents const& contents, std::int64_t now) {
    if (!link_) {
        return;
    }
    recording::TickStamp const last = TicksOf(contents, now).last;
    store_.FinishFile(*link_, static_cast<unsigned int>(contents.size), last.time, last.tick);
    image_.MarkKnown(Number(), true);
}

} // namespace workstation::service::ring

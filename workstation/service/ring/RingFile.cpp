// A stream file while it is recorded into.
#include "service/ring/RingFile.h"

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

#include "service/ring/KnownFile.h"

namespace workstation::service::ring {
namespace {

// What is written into the database of a file without any tick.
TickRange TicksOf(SlotContents const& contents, std::int64_t now) {
    recording::TickStamp const stamp{0, static_cast<int>(now)};
    return contents.ticks.value_or(TickRange{stamp, stamp});
}

} // namespace

void RingFile::Append(std::span<unsigned char const> packets, SlotContents const& contents,
                      std::int64_t now) {
    auto const count = static_cast<unsigned int>(packets.size());
    file_->Seek(static_cast<long>(contents.size - packets.size()));
    // The seam's buffers are not const; writing leaves them as they are.
    int const written = file_->Write(const_cast<unsigned char*>(packets.data()), count);
    if (written < 0 || static_cast<unsigned int>(written) != count) {
        throw std::system_error(written < 0 ? errno : ENOSPC, std::generic_category());
    }
    if (!link_) {
        recording::TickStamp const first = TicksOf(contents, now).first;
        link_ =
            store_.BeginFile(static_cast<unsigned int>(stream_), number_, first.time, first.tick);
        if (!link_) {
            throw std::runtime_error("an event holds it");
        }
    }
    file_->Truncate(static_cast<long>(contents.size));
}

void RingFile::Finish(SlotContents const& contents, std::int64_t now) {
    if (!link_) {
        return;
    }
    recording::TickStamp const last = TicksOf(contents, now).last;
    store_.FinishFile(*link_, static_cast<unsigned int>(contents.size), last.time, last.tick);
    MarkKnown(number_, true);
}

} // namespace workstation::service::ring

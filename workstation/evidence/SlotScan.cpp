// Looks through the slot of a stream file for damage.
#include "evidence/SlotScan.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <bitstream/mpeg/ts.h>

#include "StreamMetadata.h"
#include "TsHelper.h"
#include "evidence/ContinuityCheck.h"
#include "evidence/LostBytes.h"
#include "ts/PacketResync.h"
#include "ts/SystemTickPacket.h"
#include "ts/TickInserter.h"

namespace workstation::evidence {
namespace {

using ts::tsPacketSize;

// More than PacketResync looks ahead before it decides where a packet begins.
constexpr std::size_t lookAheadSize = 32 * tsPacketSize;
constexpr std::size_t windowSize = 8 * ts::tsBlockSize + lookAheadSize;

class SlotScanner {
public:
    SlotScanner(ByteSource& slot, ScanObserver& observer)
        : slot_(slot)
        , observer_(observer)
        , window_(windowSize)
        , continuity_([this](std::uint64_t offset) { return PacketAt(offset); }) {
        summary_.bytes = slot.Length();
    }

    SlotSummary Run();

private:
    void Fill();
    void ScanWindow(std::size_t end);
    void Lose(std::size_t from, std::size_t to);
    void EndLoss();
    void TakePacket(std::size_t place);
    void TakeTick(std::uint64_t offset, StreamMetadata const& tick);
    bool IsUnreadable(Range const& range) const;
    std::vector<unsigned char> PacketAt(std::uint64_t offset);
    void Report(Fault fault);
    void ReportJump(FaultKind kind, std::uint64_t offset, std::uint16_t pid,
                    std::optional<std::uint32_t> missing);

    ByteSource& slot_;
    ScanObserver& observer_;
    std::vector<unsigned char> window_;
    std::uint64_t windowOffset_ = 0; // of the window in the slot
    std::size_t filled_ = 0;         // bytes in the window
    std::size_t place_ = 0;          // in the window, of what comes next
    bool isInStep_ = false;          // a packet begins at place_
    std::vector<Range> unreadable_;
    LostBytes lost_;
    ContinuityCheck continuity_;
    std::uint64_t firstTickOffset_ = 0;
    std::uint64_t lastTickOffset_ = 0;
    SlotSummary summary_;
};

// Moves what is left to the start of the window and reads on.
void SlotScanner::Fill() {
    std::memmove(window_.data(), window_.data() + place_, filled_ - place_);
    windowOffset_ += place_;
    filled_ -= place_;
    place_ = 0;
    std::erase_if(unreadable_, [&](Range const& range) { return range.End() <= windowOffset_; });
    std::uint64_t const next = windowOffset_ + filled_;
    auto const size = static_cast<std::size_t>(
        std::min<std::uint64_t>(window_.size() - filled_, slot_.Length() - next));
    auto const bytes = std::span(window_).subspan(filled_, size);
    slot_.Read(next, bytes, unreadable_);
    filled_ += size;
    observer_.OnRead(bytes);
}

SlotSummary SlotScanner::Run() {
    bool isLast = slot_.Length() == 0;
    while (!isLast) {
        Fill();
        isLast = windowOffset_ + filled_ == slot_.Length();
        ScanWindow(isLast ? filled_ : filled_ - lookAheadSize);
    }
    EndLoss();
    std::uint64_t const ticks =
        summary_.lastTick.value_or(0) - std::uint64_t{summary_.firstTick.value_or(0)};
    if (lastTickOffset_ > firstTickOffset_ && ticks > 0 && ticks <= UINT32_MAX) {
        summary_.bitsPerSecond =
            (lastTickOffset_ - firstTickOffset_) * 8 * ts::TickInserter::usualRate / ticks;
    }
    return summary_;
}

// Goes on to byte `end` of the window, or to the end of a packet or of a loss that crosses it.
void SlotScanner::ScanWindow(std::size_t end) {
    ts::PacketResync const resync(std::span<unsigned char const>(window_).first(filled_));
    while (place_ < end) {
        std::size_t const next = isInStep_ ? resync.After(place_) : resync.First(place_);
        std::size_t lostFrom = place_;
        if (isInStep_ && next >= place_ + tsPacketSize) {
            TakePacket(place_);
            lostFrom += tsPacketSize;
        } // else the next packet begins within this one: its end is missing
        std::size_t const lostTo = std::min(next, std::max(end, lostFrom));
        Lose(lostFrom, lostTo);
        isInStep_ = next == lostTo && next < filled_;
        place_ = lostTo;
    }
}

void SlotScanner::Lose(std::size_t from, std::size_t to) {
    if (from < to) {
        lost_.Add(windowOffset_ + from,
                  std::span<unsigned char const>(window_).subspan(from, to - from), unreadable_);
    }
}

void SlotScanner::EndLoss() {
    if (lost_.IsEmpty()) {
        return;
    }
    for (Fault const& fault : lost_.Take()) {
        Report(fault);
    }
}

void SlotScanner::TakePacket(std::size_t place) {
    std::uint64_t const offset = windowOffset_ + place;
    if (IsUnreadable({offset, tsPacketSize})) {
        Lose(place, place + tsPacketSize);
        return;
    }
    EndLoss();
    ++summary_.packets;
    auto const packet =
        std::span<unsigned char const>(window_).subspan(place).first<tsPacketSize>();
    if (ts_get_transporterror(packet.data())) {
        ReportJump(FaultKind::transportError, offset, ts_get_pid(packet.data()), std::nullopt);
        continuity_.TakeUntrusted(offset, packet);
        return;
    }
    if (ts::HasSystemTickHeader(packet)) {
        if (auto const tick = ts::DecodeSystemTick(packet, TsHelper::StreamSystickSystem)) {
            TakeTick(offset, *tick);
        }
    }
    if (auto const missing = continuity_.Take(offset, packet)) {
        ReportJump(FaultKind::continuity, offset, ts_get_pid(packet.data()), *missing);
    }
}

void SlotScanner::TakeTick(std::uint64_t offset, StreamMetadata const& tick) {
    bool const isRepetition = summary_.lastTick == tick.tick;
    if (summary_.lastTick && !isRepetition && tick.tick - *summary_.lastTick != 1) {
        ReportJump(FaultKind::tick, offset, ts::systemTickPid, tick.tick - *summary_.lastTick - 1);
    }
    if (!summary_.firstTick) {
        summary_.firstTick = tick.tick;
        summary_.from = tick.time;
        firstTickOffset_ = offset;
    }
    summary_.ticks += isRepetition ? 0 : 1;
    summary_.lastTick = tick.tick;
    summary_.to = tick.time;
    lastTickOffset_ = offset;
    observer_.OnTick({offset, tick.tick, tick.time});
}

bool SlotScanner::IsUnreadable(Range const& range) const {
    return std::ranges::any_of(unreadable_, [&](Range const& other) {
        return other.offset < range.End() && range.offset < other.End();
    });
}

// Rarely called: for a packet that may be a repetition.
std::vector<unsigned char> SlotScanner::PacketAt(std::uint64_t offset) {
    std::vector<unsigned char> packet(tsPacketSize);
    std::vector<Range> unreadable;
    slot_.Read(offset, packet, unreadable);
    return unreadable.empty() ? packet : std::vector<unsigned char>();
}

void SlotScanner::ReportJump(FaultKind kind, std::uint64_t offset, std::uint16_t pid,
                             std::optional<std::uint32_t> missing) {
    Report({.offset = offset,
            .bytes = tsPacketSize,
            .time = {},
            .missing = missing,
            .pid = pid,
            .kind = kind});
}

void SlotScanner::Report(Fault fault) {
    fault.time = summary_.to;
    ++summary_.faults;
    observer_.OnFault(fault);
}

} // namespace

SlotSummary ScanSlot(ByteSource& slot, ScanObserver& observer) {
    return SlotScanner(slot, observer).Run();
}

} // namespace workstation::evidence

// A stream file whose recording was cut off.
#include "service/ring/InterruptedFile.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "TsHelper.h"
#include "ts/SystemTickPacket.h"
#include "ts/TsPacket.h"

namespace workstation::service::ring {
namespace {

constexpr std::uint32_t blockSize = ts::tsBlockSize; // recordings consist of whole packets

// The bytes from `begin` to `end` of the slot, whatever length is stated.
std::vector<unsigned char> ReadRange(pool::StreamFile& file, std::uint32_t begin,
                                     std::uint32_t end) {
    std::vector<unsigned char> bytes(end - begin);
    file.Seek(static_cast<long>(begin));
    bytes.resize(file.Read(bytes.data(), end - begin, true));
    return bytes;
}

std::uint64_t ChecksumOf(pool::StreamFile& file, std::uint32_t begin, std::uint32_t end) {
    RunningChecksum checksum;
    while (begin < end) {
        std::uint32_t const next = std::min(end, begin + blockSize);
        checksum.Add(ReadRange(file, begin, next));
        begin = next;
    }
    return checksum.Value();
}

std::optional<TickRange> TicksBetween(pool::StreamFile& file, std::uint32_t begin,
                                      std::uint32_t end) {
    auto const bytes = ReadRange(file, begin, end);
    SlotContents contents;
    for (std::span<unsigned char const> rest = bytes; rest.size() >= ts::tsPacketSize;
         rest = rest.subspan(ts::tsPacketSize)) {
        auto const packet = rest.first<ts::tsPacketSize>();
        if (!ts::HasSystemTickHeader(packet)) {
            continue;
        }
        if (auto const tick = ts::DecodeSystemTick(packet, TsHelper::StreamSystickSystem)) {
            recording::TickStamp const stamp{tick->tick, tick->time};
            contents.Add(0, TickRange{stamp, stamp});
        }
    }
    return contents.ticks;
}

std::optional<recording::TickStamp> FirstTick(pool::StreamFile& file, std::uint32_t length) {
    for (std::uint32_t begin = 0; begin < length; begin += blockSize) {
        if (auto const ticks = TicksBetween(file, begin, std::min(length, begin + blockSize))) {
            return ticks->first;
        }
    }
    return std::nullopt;
}

std::optional<recording::TickStamp> LastTick(pool::StreamFile& file, std::uint32_t length) {
    for (std::uint32_t end = length; end > 0;) {
        std::uint32_t const begin = end > blockSize ? end - blockSize : 0;
        if (auto const ticks = TicksBetween(file, begin, end)) {
            return ticks->last;
        }
        end = begin;
    }
    return std::nullopt;
}

} // namespace

// A mark continues what is known; or it is of an earlier flush, or of one that was cut off.
std::uint32_t RecordedLength(pool::StreamFile& file, std::int64_t link,
                             std::array<FlushMark, marksPerStream> const& marks) {
    auto longestFirst = marks;
    std::ranges::sort(longestFirst, std::ranges::greater(), &FlushMark::end);
    std::uint32_t length = file.Length();
    auto const continues = [&](FlushMark const& mark) {
        return mark.link == link && mark.begin == length && mark.end > length &&
               mark.end <= pool::poolSlotSize &&
               ChecksumOf(file, mark.begin, mark.end) == mark.checksum;
    };
    for (auto mark = std::ranges::find_if(longestFirst, continues); mark != longestFirst.end();
         mark = std::ranges::find_if(longestFirst, continues)) {
        length = mark->end;
    }
    return length;
}

SlotContents ReadContents(pool::StreamFile& file) {
    std::uint32_t const length = file.Length();
    auto const first = FirstTick(file, length);
    auto const last = first ? LastTick(file, length) : std::nullopt;
    if (!last) {
        return {length, std::nullopt};
    }
    return {length, TickRange{*first, *last}};
}

} // namespace workstation::service::ring

// The bytes between packets, sorted into faults.
#include "evidence/LostBytes.h"

#include <algorithm>

#include "ts/TsPacket.h"

namespace workstation::evidence {

void LostBytes::Append(FaultKind kind, std::uint64_t offset, std::uint64_t bytes) {
    if (bytes == 0) {
        return;
    }
    if (kind != FaultKind::zeros) {
        EndRunOfZeros();
    }
    if (!parts_.empty() && parts_.back().kind == kind) {
        parts_.back().range.bytes += bytes;
    } else {
        parts_.push_back({kind, {offset, bytes}});
    }
}

// A short run of zeros is bytes like any other. Decided at its end, so that noise is one part.
void LostBytes::EndRunOfZeros() {
    if (parts_.empty() || parts_.back().kind != FaultKind::zeros ||
        parts_.back().range.bytes >= ts::tsPacketSize) {
        return;
    }
    Range const run = parts_.back().range;
    parts_.pop_back();
    Append(FaultKind::sync, run.offset, run.bytes);
}

void LostBytes::AddReadable(std::uint64_t offset, std::span<unsigned char const> bytes) {
    auto const isZero = [](unsigned char byte) { return byte == 0; };
    for (auto place = bytes.begin(); place != bytes.end();) {
        bool const zeros = isZero(*place);
        auto const end = zeros ? std::find_if_not(place, bytes.end(), isZero)
                               : std::find_if(place, bytes.end(), isZero);
        Append(zeros ? FaultKind::zeros : FaultKind::sync,
               offset + static_cast<std::uint64_t>(place - bytes.begin()),
               static_cast<std::uint64_t>(end - place));
        place = end;
    }
}

void LostBytes::Add(std::uint64_t offset, std::span<unsigned char const> bytes,
                    std::span<Range const> unreadable) {
    std::uint64_t const end = offset + bytes.size();
    std::uint64_t place = offset;
    for (Range const& range : unreadable) {
        std::uint64_t const from = std::clamp(range.offset, place, end);
        std::uint64_t const to = std::clamp(range.End(), from, end);
        AddReadable(place, bytes.subspan(place - offset, from - place));
        Append(FaultKind::unreadable, from, to - from);
        place = to;
    }
    AddReadable(place, bytes.subspan(place - offset));
}

// Less than a packet beside what could not be read.
bool LostBytes::IsCutPacket(std::size_t part) const {
    auto const isUnreadable = [&](std::size_t index) {
        return index < parts_.size() && parts_[index].kind == FaultKind::unreadable;
    };
    return parts_[part].kind != FaultKind::unreadable &&
           parts_[part].range.bytes < ts::tsPacketSize &&
           (isUnreadable(part + 1) || (part > 0 && isUnreadable(part - 1)));
}

std::vector<Fault> LostBytes::Take() {
    EndRunOfZeros();
    std::vector<Fault> faults;
    for (std::size_t part = 0; part < parts_.size(); ++part) {
        if (!IsCutPacket(part)) {
            Range const& range = parts_[part].range;
            faults.push_back({.offset = range.offset,
                              .bytes = range.bytes,
                              .time = {},
                              .missing = {},
                              .pid = {},
                              .kind = parts_[part].kind});
        }
    }
    parts_.clear();
    return faults;
}

} // namespace workstation::evidence

// The slots that an export reads, and whether they are still what they were.
#include "evidence/exporting/PoolSlots.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "Failure.h"
#include "pool/PoolLayout.h"

namespace workstation::evidence::exporting {
namespace {

// Searches read less at a time, a copy more.
constexpr std::size_t largestKept = 512U << 10U;

} // namespace

OpenedSlot::OpenedSlot(PoolView const& pool, int number, std::uint64_t& keepable)
    : SlotReader(pool.Descriptor(), pool.SlotOffset(number), pool.Length(number))
    , pool_(pool)
    , number_(number)
    , keepable_(keepable)
    , firstPacket_(FirstPacket()) {}

OpenedSlot::Packet OpenedSlot::FirstPacket() {
    Packet packet{};
    std::vector<Range> unreadable;
    SlotReader::Read(0, std::span(packet).first(std::min<std::uint64_t>(packet.size(), Length())),
                     unreadable);
    return packet;
}

void OpenedSlot::CheckUnchanged() {
    // The length last: it is 0 before the first packet changes.
    bool const hasFirstPacket = FirstPacket() == firstPacket_;
    if (pool_.Length(number_) < Length() || !hasFirstPacket) {
        throw Failure(ESTALE,
                      pool::StreamFileName(number_) + " was recorded over while it was exported");
    }
}

// The kept bytes from `offset` on; empty when the byte is not kept.
std::span<unsigned char const> OpenedSlot::Kept(std::uint64_t offset) const {
    auto const after = kept_.upper_bound(offset);
    if (after == kept_.begin()) {
        return {};
    }
    auto const& [begin, bytes] = *std::prev(after);
    return std::span(bytes).subspan(std::min<std::uint64_t>(offset - begin, bytes.size()));
}

void OpenedSlot::ReadAndKeep(std::uint64_t offset, std::span<unsigned char> bytes,
                             std::vector<Range>& unreadable) {
    std::vector<Range> missing;
    SlotReader::Read(offset, bytes, missing);
    unreadable.insert(unreadable.end(), missing.begin(), missing.end());
    if (missing.empty() && bytes.size() <= std::min<std::uint64_t>(largestKept, keepable_)) {
        kept_.try_emplace(offset, bytes.begin(), bytes.end());
        keepable_ -= bytes.size();
    }
}

void OpenedSlot::Read(std::uint64_t offset, std::span<unsigned char> bytes,
                      std::vector<Range>& unreadable) {
    while (!bytes.empty()) {
        auto const kept = Kept(offset);
        std::size_t count = std::min(kept.size(), bytes.size());
        std::copy_n(kept.begin(), count, bytes.begin());
        if (kept.empty()) {
            auto const next = kept_.upper_bound(offset);
            count = next == kept_.end()
                        ? bytes.size()
                        : std::min<std::uint64_t>(next->first - offset, bytes.size());
            ReadAndKeep(offset, bytes.first(count), unreadable);
        }
        offset += count;
        bytes = bytes.subspan(count);
    }
}

OpenedSlot& PoolSlots::At(int number) {
    if (number < 1 || static_cast<std::uint32_t>(number) > pool_.SlotCount()) {
        throw Failure(ENOENT, pool::StreamFileName(number) +
                                  ": the pool has no such file; it has " +
                                  std::to_string(pool_.SlotCount()));
    }
    auto const found = slots_.find(number);
    return found != slots_.end()
               ? found->second
               : slots_.try_emplace(number, pool_, number, keepable_).first->second;
}

} // namespace workstation::evidence::exporting

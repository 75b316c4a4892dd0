// The slots that an export reads, and whether they are still what they were.
#include "evidence/exporting/PoolSlots.h"

#include <algorithm>
#include <cerrno>
#include <vector>

#include "Failure.h"
#include "pool/PoolLayout.h"

namespace workstation::evidence::exporting {

OpenedSlot::OpenedSlot(PoolView const& pool, int number)
    : SlotReader(pool.Descriptor(), pool.SlotOffset(number), pool.Length(number))
    , pool_(pool)
    , number_(number)
    , firstPacket_(FirstPacket()) {}

OpenedSlot::Packet OpenedSlot::FirstPacket() {
    Packet packet{};
    std::vector<Range> unreadable;
    Read(0, std::span(packet).first(std::min<std::uint64_t>(packet.size(), Length())), unreadable);
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

OpenedSlot& PoolSlots::At(int number) {
    if (number < 1 || static_cast<std::uint32_t>(number) > pool_.SlotCount()) {
        throw Failure(ENOENT, pool::StreamFileName(number) +
                                  ": the pool has no such file; it has " +
                                  std::to_string(pool_.SlotCount()));
    }
    auto const found = slots_.find(number);
    return found != slots_.end() ? found->second
                                 : slots_.try_emplace(number, pool_, number).first->second;
}

} // namespace workstation::evidence::exporting

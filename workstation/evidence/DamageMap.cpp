// A map of the damage in a pool image, for programs that rescue data.
#include "evidence/DamageMap.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace workstation::evidence {
namespace {

constexpr char sound = '+';
constexpr char damaged = '-';
constexpr char notLookedAt = '?';

bool LosesBytes(FaultKind kind) {
    return kind == FaultKind::sync || kind == FaultKind::zeros || kind == FaultKind::unreadable;
}

std::string Hexadecimal(std::uint64_t value) {
    char text[24] = {};
    std::snprintf(text, sizeof text, "0x%08" PRIX64, value);
    return text;
}

} // namespace

DamageMap::DamageMap(std::string const& path, PoolView const& pool, ScanReport& next)
    : pool_(pool)
    , next_(next)
    , file_(path) {
    Write("# Mapfile of a pool image\n"
          "# current_pos  current_status  current_pass\n"
          "0x00000000     +               1\n"
          "#      pos        size  status\n");
    Mark(std::min(pool_.SlotOffset(1), pool_.FileSize()), sound);
}

void DamageMap::Write(std::string const& text) {
    file_.Write(reinterpret_cast<unsigned char const*>(text.data()), text.size());
}

// Everything up to `end` has this status. Ranges of the same status become one.
void DamageMap::Mark(std::uint64_t end, char status) {
    if (end <= place_) {
        return;
    }
    if (status != rangeStatus_ && place_ > rangeBegin_) {
        Write(Hexadecimal(rangeBegin_) + "  " + Hexadecimal(place_ - rangeBegin_) + "  " +
              rangeStatus_ + "\n");
        rangeBegin_ = place_;
    }
    rangeStatus_ = status;
    place_ = end;
}

void DamageMap::Add(int slot, Fault const& fault) {
    if (LosesBytes(fault.kind)) {
        std::uint64_t const slotBegin = pool_.SlotOffset(slot);
        Mark(slotBegin, notLookedAt);
        Mark(slotBegin + fault.offset, sound);
        Mark(slotBegin + fault.offset + fault.bytes, damaged);
    }
    next_.Add(slot, fault);
}

void DamageMap::End(int slot, SlotSummary const& summary) {
    std::uint64_t const slotBegin = pool_.SlotOffset(slot);
    Mark(slotBegin, notLookedAt);
    Mark(slotBegin + summary.bytes, sound);
    next_.End(slot, summary);
}

void DamageMap::End() {
    next_.End();
}

void DamageMap::Complete() {
    Mark(std::max(pool_.FileSize(), place_), notLookedAt);
    Mark(place_ + 1, 0); // ends the last range
    file_.Complete();
}

} // namespace workstation::evidence

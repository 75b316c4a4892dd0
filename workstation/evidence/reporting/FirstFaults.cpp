// The faults that a report lists one by one.
#include "evidence/reporting/FirstFaults.h"

namespace workstation::evidence::reporting {

void FirstFaults::Add(int slot, Fault const& fault) {
    if (ofSlot_ < mostOfSlot && listed_.size() < mostOfPool) {
        listed_.push_back({slot, fault});
    }
    ++ofSlot_;
    ++count_;
    ++counts_[fault.kind];
    next_.Add(slot, fault);
}

void FirstFaults::End(int slot, SlotSummary const& summary) {
    ofSlot_ = 0;
    next_.End(slot, summary);
}

} // namespace workstation::evidence::reporting

// When the faults of a pool happened.
#include "evidence/FaultTimes.h"

namespace workstation::evidence {

void FaultTimes::Add(int /*slot*/, Fault const& fault) {
    ++ofSlot_[{fault.time, fault.kind}];
}

void FaultTimes::End(int slot, SlotSummary const& summary) {
    for (auto const& [key, count] : ofSlot_) {
        faults_.push_back({slot, key.second, key.first, count});
    }
    ofSlot_.clear();
    slots_.push_back({slot, summary});
}

} // namespace workstation::evidence

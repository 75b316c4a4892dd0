// What the service does, in one line.
#pragma once

#include <string>
#include <vector>

#include "status/ServiceStatus.h"

namespace workstation::service::supervision {

struct SlotCounts {
    int total = 0;
    int free = 0; // states no length, and no process writes it
};

// Such as "recording 3 of 4 streams, 1 waiting; 12 of 400 slots free", then what keeps streams from
// being recorded. `problem` is that of the pool as a whole; empty if there is no problem.
std::string StatusLine(std::vector<status::StreamStatus> const& streams, SlotCounts const& slots,
                       std::string const& problem);

} // namespace workstation::service::supervision

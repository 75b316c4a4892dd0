// The page that reports what is in a pool.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "evidence/Catalogue.h"
#include "evidence/FaultTimes.h"
#include "evidence/PoolListing.h"
#include "evidence/reporting/FirstFaults.h"

namespace workstation::evidence::reporting {

struct ReportFacts {
    std::string pool;                    // the paths, as they are shown
    std::optional<std::string> database; // null when there is none
    std::int64_t time;                   // of the report, in seconds since the epoch
    std::uint64_t imageSize;             // in bytes
    std::vector<std::string> damage;     // of the image and its table, a line each
    Catalogue const& catalogue;
    PoolContents const& contents;
    FaultTimes const& scan;
    FirstFaults const& faults;
};

// One HTML page that needs no other file and no script. Nothing in it is markup that is not ours.
std::string ReportPage(ReportFacts const& facts);

} // namespace workstation::evidence::reporting

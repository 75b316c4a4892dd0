// The status of the service in words.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "status/ServiceStatus.h"

namespace workstation::status {

struct Fact {
    std::string name;
    std::string value; // "-" for nothing
    bool isNumber;
};

// The facts of a stream, in the same order for every stream. The first one is its number.
std::vector<Fact> FactsOf(StreamStatus const& stream);

// "stream 1: source udp://239.1.2.3:5000, state recording, ..."
std::string Describe(StreamStatus const& stream);

// "process 1234, up 3600 s"
std::string DescribeProcess(ServiceStatus const& status);

// "total 96256 KiB, buffer 0 KiB (0.0 %), free 96256 KiB (100.0 %)"
std::string Describe(StorageStatus const& storage);

// The same with any parts of the total.
std::string DescribeStorage(std::uint64_t totalKiB,
                            std::vector<std::pair<char const*, std::uint64_t>> const& partsKiB);

// A line for each reason why the service is degraded.
std::vector<std::string> DescribeDegradation(ServiceStatus const& status);

} // namespace workstation::status

// Runs a command and says what it took.
#pragma once

#include <optional>

#include "PairedOptions.h"

namespace benchmarks {

struct Measurement {
    double wallMs;
    double processorMs; // user and system
    double peakMiB;
};

// Runs the command with its output discarded. Nothing when it does not end with status 0.
std::optional<Measurement> Measure(Words const& command);

} // namespace benchmarks

// The command line of the paired benchmark runner.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace benchmarks {

using Words = std::vector<std::string>;

struct PairedOptions {
    std::string title = "case";
    int rounds = 31;
    double timeTarget = 0;            // greatest wanted ratio of wall times; 0 for none
    double memoryTargetMiB = 0;       // greatest wanted peak of the first command; 0 for none
    std::vector<std::string> removed; // before every run
    std::vector<std::string> evicted; // from the page cache, before every run
    std::vector<std::string> warmed;  // read into the page cache, before every run
    std::optional<std::pair<std::string, std::string>> same; // what the two commands wrote
    Words first;
    Words second;
};

// Nothing when the command line is not understood.
std::optional<PairedOptions> ParsePairedOptions(int argc, char** argv);

extern char const* const pairedUsage;

} // namespace benchmarks

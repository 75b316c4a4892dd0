// An axis with numbers.
#pragma once

#include <string>
#include <vector>

namespace workstation::evidence::plotting {

struct NumberMark {
    double value;
    std::string label;
};

// At most `most` (2 or more) marks between two values, both included, at round values of equal
// distance. `to` is larger than `from`.
std::vector<NumberMark> NumberMarks(double from, double to, std::size_t most);

} // namespace workstation::evidence::plotting

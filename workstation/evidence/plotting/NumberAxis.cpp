// An axis with numbers.
#include "evidence/plotting/NumberAxis.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace workstation::evidence::plotting {
namespace {

// The smallest of 1, 2 and 5 times a power of ten that is at least `distance`.
double RoundDistance(double distance) {
    double const power = std::pow(10.0, std::floor(std::log10(distance)));
    for (double const factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= distance * (1 - 1e-9)) {
            return factor * power;
        }
    }
    return 10 * power;
}

std::string Text(double value, double distance) {
    int const decimals = std::max(0, static_cast<int>(-std::floor(std::log10(distance) + 1e-9)));
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

} // namespace

std::vector<NumberMark> NumberMarks(double from, double to, std::size_t most) {
    double const distance = RoundDistance((to - from) / static_cast<double>(most - 1));
    std::vector<NumberMark> marks;
    double const first = std::ceil(from / distance - 1e-9);
    for (double i = first; i * distance <= to + distance * 1e-9; ++i) {
        double const value = i * distance + 0.0; // not -0
        marks.push_back({value, Text(value, distance)});
    }
    return marks;
}

} // namespace workstation::evidence::plotting

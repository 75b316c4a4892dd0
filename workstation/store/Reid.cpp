// Record event identifiers.
#include "store/Reid.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <random>

namespace workstation::store {

std::string FormatReid(std::int64_t time, std::uint32_t number) {
    using namespace std::chrono;
    constexpr std::int64_t endOfYear9999 = 253402300799;
    sys_seconds const moment{seconds(std::clamp<std::int64_t>(time, 0, endOfYear9999))};
    auto const day = floor<days>(moment);
    year_month_day const date(day);
    hh_mm_ss const clock(moment - day);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d%02u%02u-%02d%02d%02d:%08lx",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<unsigned long>(number));
    return text.data();
}

std::string MakeReid(std::int64_t time) {
    return FormatReid(time, static_cast<std::uint32_t>(std::random_device{}()));
}

} // namespace workstation::store

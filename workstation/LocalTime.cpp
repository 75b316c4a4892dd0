// Times as people read them.
#include "LocalTime.h"

#include <array>
#include <ctime>

namespace workstation {

std::string LocalTime(std::int64_t seconds) {
    auto const time = static_cast<std::time_t>(seconds);
    std::tm local{};
    std::array<char, 64> text{};
    if (localtime_r(&time, &local) == nullptr ||
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S %Z", &local) == 0) {
        return "@" + std::to_string(seconds);
    }
    return text.data();
}

} // namespace workstation

// How much an endurance test does: little by itself, more in a campaign.
#pragma once

#include <cstdlib>
#include <string>

namespace endurance {

// The number in an environment variable; `usual` when it is not set.
inline int Amount(char const* variable, int usual) {
    char const* const text = std::getenv(variable);
    return text == nullptr ? usual : std::stoi(text);
}

} // namespace endurance

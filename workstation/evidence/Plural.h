// Numbers of things as people read them.
#pragma once

#include <cstdint>
#include <string>

namespace workstation::evidence {

// "1 packet", "2 packets".
inline std::string Plural(std::uint64_t count, std::string const& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// The same, with "no packet" for 0.
inline std::string PluralOrNo(std::uint64_t count, std::string const& noun) {
    return count == 0 ? "no " + noun : Plural(count, noun);
}

} // namespace workstation::evidence

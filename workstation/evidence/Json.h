// Values of the evidence verbs as JSON.
#pragma once

#include <optional>

#include <nlohmann/json.hpp>

#include "evidence/Fault.h"

namespace workstation::evidence {

template <typename Value>
nlohmann::json OrNull(std::optional<Value> const& value) {
    return value ? nlohmann::json(*value) : nlohmann::json();
}

inline nlohmann::ordered_json ToJson(Fault const& fault) {
    return {{"kind", Name(fault.kind)},
            {"offset", fault.offset},
            {"bytes", fault.bytes},
            {"pid", OrNull(fault.pid)},
            {"missing", OrNull(fault.missing)},
            {"time", OrNull(fault.time)}};
}

} // namespace workstation::evidence

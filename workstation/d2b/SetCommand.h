// d2b set: changes what the table says of a stream file.
#pragma once

#include <cstdint>
#include <optional>

#include "Trouble.h"

namespace workstation::d2b {

// What is not given stays as it is.
struct SetOptions {
    std::optional<std::uint32_t> length; // in bytes
    std::optional<std::uint32_t> controller;
    std::optional<bool> dbMatch;
    std::optional<std::uint32_t> atomicReaders;
};

// Refused while somebody writes the stream file.
bool SetStreamFile(int fileNumber, SetOptions const& options, Trouble& why);

} // namespace workstation::d2b

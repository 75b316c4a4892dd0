// d2b set: changes the table entry of a stream file.
#pragma once

#include <cstdint>
#include <optional>

namespace workstation::d2b {

// Values that are not given stay as they are.
struct SetOptions {
    std::optional<std::uint32_t> length; // in bytes
    std::optional<std::uint32_t> controller;
    std::optional<bool> dbMatch;
    std::optional<std::uint32_t> atomicReaders;
};

// What was set is durable when it returns. Throws Failure, also (EBUSY) while the stream file is
// being written.
void SetStreamFile(int fileNumber, SetOptions const& options);

} // namespace workstation::d2b

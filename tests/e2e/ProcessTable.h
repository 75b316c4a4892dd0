// The process tables of a recorder: one for each byte order that its programs have.
#pragma once

#include <bit>
#include <cstdint>
#include <string>

#include "Recorder.h"

namespace e2e {

// The byte order of the tool under test; the service has that of this machine.
std::endian ToolsByteOrder();

// The table of the programs of a byte order.
std::filesystem::path ProcessTablePath(Recorder const& recorder, std::endian order);

// The bytes of a word in that table.
std::string Word(std::int32_t word, std::endian order);

} // namespace e2e

// The process tables of a recorder: one for each byte order that its programs have.
#pragma once

#include <bit>
#include <cstdint>
#include <string>

#include "Recorder.h"

namespace e2e {

// That of the tool under test; the service has this machine's.
std::endian ToolsByteOrder();

// Where the processes of a byte order stand.
std::filesystem::path ProcessTablePath(Recorder const& recorder, std::endian order);

// A word as it stands there.
std::string Word(std::int32_t word, std::endian order);

} // namespace e2e

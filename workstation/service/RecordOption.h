// The arguments of --record: STREAM=SOURCE.
#pragma once

#include <string>
#include <vector>

#include "service/recording/RecordingSettings.h"

namespace workstation::service {

// Parses all arguments of --record, in their order. Each stream is recorded from at most one
// source, and standard input into at most one stream. Throws a Failure (EINVAL) that says what is
// wrong.
std::vector<recording::RecordingSettings> ParseRecordOptions(std::vector<std::string> const& texts);

} // namespace workstation::service

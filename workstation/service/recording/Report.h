// What a recording reports about its source.
#pragma once

#include <functional>
#include <string>

#include "log/PlatformLog.h"

namespace workstation::service::recording {

// Gets what there is to know, one line a call, in the recording's thread.
using Report = std::function<void(std::string const& text, log::Severity severity)>;

} // namespace workstation::service::recording

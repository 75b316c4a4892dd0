// Log entries about a stream.
#pragma once

#include <string>

#include "log/PlatformLog.h"

namespace workstation::service::ring {

// Logs "stream 1: TEXT". Streams count from 1.
inline void LogForStream(int stream, std::string const& text,
                         log::Severity severity = log::Severity::notice) {
    log::LogNotification("stream " + std::to_string(stream) + ": " + text, severity);
}

} // namespace workstation::service::ring

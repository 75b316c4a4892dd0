// What is recorded into which stream, and how.
#pragma once

#include <string>

namespace workstation::service::recording {

constexpr int recordStreamCount = 4;

struct RecordingSettings {
    int stream;          // 1 to recordStreamCount
    std::string source;  // a path, or "-" for standard input
    bool isFast = false; // a file is read as fast as it can be, not in real time
    bool loops = false;  // a file is read again and again

    bool operator==(RecordingSettings const&) const = default;
};

} // namespace workstation::service::recording

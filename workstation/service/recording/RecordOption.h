// What the service is asked to record.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace workstation::service::recording {

constexpr int recordStreamCount = 4;

struct RecordOption {
    int stream;         // 1 to recordStreamCount
    std::string source; // a path, or "-" for standard input

    bool operator==(RecordOption const&) const = default;
};

// Takes texts STREAM=SOURCE apart, in their order. Each stream is recorded from one source at most,
// and standard input into one stream. Nothing, with the reason in `error`, when they cannot be
// meant.
std::optional<std::vector<RecordOption>> ParseRecordOptions(std::vector<std::string> const& texts,
                                                            std::string& error);

} // namespace workstation::service::recording

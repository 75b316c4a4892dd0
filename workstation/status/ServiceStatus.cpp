// What the service is doing: the facts that it answers with and logs.
#include "status/ServiceStatus.h"

namespace workstation::status {

char const* Name(StreamStatus::State state) {
    switch (state) {
    case StreamStatus::State::recording:
        return "recording";
    case StreamStatus::State::waiting:
        return "waiting";
    case StreamStatus::State::ended:
        return "ended";
    }
    return "";
}

std::vector<std::string> WhyDegraded(ServiceStatus const& status) {
    std::vector<std::string> reasons;
    if (!status.problem.empty()) {
        reasons.push_back(status.problem);
    }
    for (StreamStatus const& stream : status.streams) {
        std::string const prefix = "stream " + std::to_string(stream.stream) + ": ";
        if (!stream.problem.empty()) {
            reasons.push_back(prefix + stream.problem);
        }
        if (stream.isLive && stream.state == StreamStatus::State::waiting) {
            reasons.push_back(prefix + "waiting for " + stream.source);
        }
    }
    return reasons;
}

} // namespace workstation::status

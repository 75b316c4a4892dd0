// What the service does, in one line.
#include "service/supervision/StatusLine.h"

#include <algorithm>

namespace workstation::service::supervision {
namespace {

using status::StreamStatus;
using State = StreamStatus::State;

bool IsRecording(StreamStatus const& stream) {
    return stream.state == State::recording && stream.problem.empty();
}

std::string Counted(std::vector<StreamStatus> const& streams, State state,
                    std::string const& word) {
    auto const count = std::ranges::count(streams, state, &StreamStatus::state);
    return count == 0 ? "" : ", " + std::to_string(count) + ' ' + word;
}

std::string Streams(std::vector<StreamStatus> const& streams) {
    if (streams.empty()) {
        return "recording nothing";
    }
    return "recording " + std::to_string(std::ranges::count_if(streams, IsRecording)) + " of " +
           std::to_string(streams.size()) + (streams.size() == 1 ? " stream" : " streams") +
           Counted(streams, State::waiting, "waiting") + Counted(streams, State::ended, "ended");
}

} // namespace

std::string StatusLine(std::vector<StreamStatus> const& streams, SlotCounts const& slots,
                       std::string const& problem) {
    std::string line = Streams(streams) + "; " + std::to_string(slots.free) + " of " +
                       std::to_string(slots.total) + " slots free";
    for (StreamStatus const& stream : streams) {
        if (!stream.problem.empty()) {
            line += "; stream " + std::to_string(stream.stream) + ": " + stream.problem;
        }
    }
    return problem.empty() ? line : line + "; " + problem;
}

} // namespace workstation::service::supervision

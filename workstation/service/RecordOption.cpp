// The arguments of --record: STREAM=SOURCE.
#include "service/RecordOption.h"

#include <algorithm>

#include "Failure.h"
#include "service/recording/SourceName.h"
#include "service/recording/UdpAddress.h"

namespace workstation::service {
namespace {

using recording::RecordingSettings;
using recording::recordStreamCount;

Failure Invalid(std::string const& text) {
    return {EINVAL, text};
}

// The text without what may be secret in it: of a command, the name of its program is left.
std::string Shown(std::string const& text) {
    std::size_t const command = text.find(recording::execPrefix);
    return command == std::string::npos
               ? recording::WithoutAddress(text)
               : text.substr(0, command) + recording::SourceName(text.substr(command));
}

RecordingSettings ParseRecordOption(std::string const& text) {
    std::size_t const equals = text.find('=');
    if (equals == std::string::npos) {
        throw Invalid("'" + Shown(text) + "' is not STREAM=SOURCE");
    }
    // The number of a stream is one digit.
    if (equals != 1 || text[0] < '1' || text[0] > '0' + recordStreamCount) {
        throw Invalid("'" + Shown(text) + "': the stream is a number from 1 to " +
                      std::to_string(recordStreamCount));
    }
    std::string const source = text.substr(equals + 1);
    if (source.empty() || source == recording::execPrefix) {
        throw Invalid("'" + text + "': the source is missing");
    }
    if (source.starts_with(recording::udpPrefix) && !recording::ParseUdpAddress(source)) {
        throw Invalid("'" + text + "': not udp://ADDRESS:PORT with an address in numbers");
    }
    return {text[0] - '0', source};
}

void CheckConflict(std::vector<RecordingSettings> const& earlier, RecordingSettings const& added) {
    if (std::ranges::count(earlier, added.stream, &RecordingSettings::stream) > 0) {
        throw Invalid("stream " + std::to_string(added.stream) + " has two sources");
    }
    if (added.source == "-" && std::ranges::count(earlier, "-", &RecordingSettings::source) > 0) {
        throw Invalid("standard input is the source of two streams");
    }
}

} // namespace

std::vector<RecordingSettings> ParseRecordOptions(std::vector<std::string> const& texts) {
    std::vector<RecordingSettings> recordings;
    for (std::string const& text : texts) {
        RecordingSettings const settings = ParseRecordOption(text);
        CheckConflict(recordings, settings);
        recordings.push_back(settings);
    }
    return recordings;
}

} // namespace workstation::service

// What the service is asked to record.
#include "service/recording/RecordOption.h"

#include <algorithm>

namespace workstation::service::recording {
namespace {

// The number of a stream is one digit.
std::optional<int> ParseStream(std::string const& text) {
    if (text.size() != 1 || text[0] < '1' || text[0] > '0' + recordStreamCount) {
        return std::nullopt;
    }
    return text[0] - '0';
}

std::optional<RecordOption> ParseRecordOption(std::string const& text, std::string& error) {
    std::size_t const equals = text.find('=');
    if (equals == std::string::npos) {
        error = "'" + text + "' is not STREAM=SOURCE";
        return std::nullopt;
    }
    auto const stream = ParseStream(text.substr(0, equals));
    if (!stream) {
        error =
            "'" + text + "': the stream is a number from 1 to " + std::to_string(recordStreamCount);
        return std::nullopt;
    }
    std::string source = text.substr(equals + 1);
    if (source.empty()) {
        error = "'" + text + "': the source is missing";
        return std::nullopt;
    }
    return RecordOption{*stream, std::move(source)};
}

// Why an option cannot stand beside the ones before it; empty when it can.
std::string Conflict(std::vector<RecordOption> const& options, RecordOption const& option) {
    if (std::ranges::count(options, option.stream, &RecordOption::stream) > 0) {
        return "stream " + std::to_string(option.stream) + " has two sources";
    }
    if (option.source == "-" && std::ranges::count(options, "-", &RecordOption::source) > 0) {
        return "standard input is the source of two streams";
    }
    return "";
}

} // namespace

std::optional<std::vector<RecordOption>> ParseRecordOptions(std::vector<std::string> const& texts,
                                                            std::string& error) {
    std::vector<RecordOption> options;
    for (std::string const& text : texts) {
        auto option = ParseRecordOption(text, error);
        if (!option) {
            return std::nullopt;
        }
        error = Conflict(options, *option);
        if (!error.empty()) {
            return std::nullopt;
        }
        options.push_back(std::move(*option));
    }
    return options;
}

} // namespace workstation::service::recording

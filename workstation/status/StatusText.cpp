// The status of the service in words.
#include "status/StatusText.h"

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <sstream>

#include "LocalTime.h"

namespace workstation::status {
namespace {

std::string Fixed(double number, int digits) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << number;
    return text.str();
}

std::string Percentage(std::uint64_t part, std::uint64_t whole) {
    double const share = static_cast<double>(part) / static_cast<double>(whole);
    return Fixed(whole == 0 ? 0 : 100 * share, 1) + " %";
}

// Control characters, such as the end of a line, would break the table.
std::string OnOneLine(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char character) { return std::iscntrl(character) != 0; }, '?');
    return text;
}

} // namespace

std::vector<Fact> FactsOf(StreamStatus const& stream) {
    std::string const nothing = "-";
    return {
        {"stream", std::to_string(stream.stream), true},
        {"source", OnOneLine(stream.source), false},
        {"state", Name(stream.state), false},
        {"last packet", stream.lastPacket ? LocalTime(*stream.lastPacket) : nothing, false},
        {"bit rate", Fixed(static_cast<double>(stream.bitsPerSecond) / 1e6, 2) + " Mbit/s", true},
        {"restarts", std::to_string(stream.restarts), true},
        {"bytes dropped", std::to_string(stream.droppedBytes), true},
        {"slot", stream.slot ? std::to_string(*stream.slot) : nothing, true}};
}

std::string Describe(StreamStatus const& stream) {
    auto const facts = FactsOf(stream);
    std::string text;
    for (std::size_t i = 0; i < facts.size(); ++i) {
        text += (i == 0 ? "" : i == 1 ? ": " : ", ") + facts[i].name + " " + facts[i].value;
    }
    return text;
}

std::string DescribeProcess(ServiceStatus const& status) {
    return "process " + std::to_string(status.process) + ", up " +
           std::to_string(status.upSeconds) + " s";
}

std::string Describe(StorageStatus const& storage) {
    return DescribeStorage(storage.totalKiB,
                           {{"buffer", storage.bufferKiB}, {"free", storage.freeKiB}});
}

std::string DescribeStorage(std::uint64_t totalKiB,
                            std::vector<std::pair<char const*, std::uint64_t>> const& partsKiB) {
    std::string text = "total " + std::to_string(totalKiB) + " KiB";
    for (auto const& [name, sizeKiB] : partsKiB) {
        text += std::string(", ") + name + " " + std::to_string(sizeKiB) + " KiB (" +
                Percentage(sizeKiB, totalKiB) + ")";
    }
    return text;
}

std::vector<std::string> DescribeDegradation(ServiceStatus const& status) {
    std::vector<std::string> lines = WhyDegraded(status);
    for (std::string& line : lines) {
        line.insert(0, "degraded: ");
    }
    return lines;
}

} // namespace workstation::status

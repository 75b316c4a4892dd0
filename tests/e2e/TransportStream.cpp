// Transport streams with system ticks: made, looked into, and played.
#include "TransportStream.h"

#include <algorithm>
#include <numeric>
#include <sstream>
#include <stdexcept>

#include "BigEndian.h"

namespace e2e {
namespace {

// Begins every tick: sync byte, PID 0x1FA0 with payload_unit_start_indicator.
constexpr std::string_view tickStart = "\x47\x5F\xA0";
constexpr std::size_t tickNumberOffset = 16;
constexpr std::size_t tickTimeOffset = 20;

std::uint32_t WordAt(std::string const& stream, std::size_t offset) {
    return workstation::GetBig32(reinterpret_cast<unsigned char const*>(stream.data() + offset));
}

bool IsTick(std::string const& stream, std::size_t offset) {
    return stream.compare(offset, tickStart.size(), tickStart) == 0;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, Tick const& tick) {
    return stream << tick.number << " at " << tick.offset << ", time " << tick.time;
}

std::string Clip() {
    return ReadFile(CLIP_PATH);
}

std::string FewPackets() {
    return Clip().substr(0, 100 * packetSize);
}

std::string TickedClip(Recorder const& recorder, Words const& options) {
    auto const path = recorder.Directory() / "ticked";
    Words words{"tick", CLIP_PATH, path};
    words.insert(words.end(), options.begin(), options.end());
    Outcome const outcome = recorder.PoolTool(words);
    if (outcome != Outcome{0, "", ""}) {
        throw std::runtime_error("d2b tick: " + outcome.err);
    }
    std::string stream = ReadFile(path);
    std::filesystem::remove(path);
    return stream;
}

std::vector<Tick> TicksIn(std::string const& stream) {
    std::vector<Tick> ticks;
    for (std::size_t offset = 0; offset + packetSize <= stream.size(); offset += packetSize) {
        if (IsTick(stream, offset)) {
            ticks.push_back({offset, WordAt(stream, offset + tickNumberOffset),
                             static_cast<std::int32_t>(WordAt(stream, offset + tickTimeOffset))});
        }
    }
    return ticks;
}

std::vector<Tick> TicksShown(std::string const& text) {
    std::vector<Tick> ticks;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        Tick tick{};
        if (word == "Tick:" && words >> tick.number >> word >> tick.offset >> word >> tick.time) {
            ticks.push_back(tick);
        }
    }
    return ticks;
}

std::string WithoutTicks(std::string const& stream) {
    std::string rest;
    for (std::size_t offset = 0; offset < stream.size(); offset += packetSize) {
        if (!IsTick(stream, offset)) {
            rest.append(stream, offset, packetSize);
        }
    }
    return rest;
}

std::vector<std::uint32_t> Numbers(std::vector<Tick> const& ticks) {
    std::vector<std::uint32_t> numbers;
    std::ranges::transform(ticks, std::back_inserter(numbers), &Tick::number);
    return numbers;
}

std::vector<std::uint32_t> NumbersFrom(std::uint32_t first, std::size_t count) {
    std::vector<std::uint32_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

Outcome Play(std::filesystem::path const& file) {
    return RunToEnd({{"ffprobe", "-v", "error", "-show_entries", "stream=codec_name", "-of",
                      "csv=print_section=0", file}});
}

} // namespace e2e

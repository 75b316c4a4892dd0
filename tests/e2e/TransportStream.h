// Transport streams with system ticks: made, looked into, and played.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "Recorder.h"

namespace e2e {

constexpr std::size_t packetSize = 188;

struct Tick {
    std::size_t offset;
    std::uint32_t number;
    std::int32_t time;

    bool operator==(Tick const&) const = default;
};

std::ostream& operator<<(std::ostream& stream, Tick const& tick);

std::string Clip();

// The beginning of the clip. Fits into a pipe, also when nothing reads it.
std::string FewPackets();

// The clip with the ticks that `d2b tick` inserts.
std::string TickedClip(Recorder const& recorder, Words const& options);

// The ticks of a stream whose packets are all in place.
std::vector<Tick> TicksIn(std::string const& stream);

// The ticks that --tickinfo shows.
std::vector<Tick> TicksShown(std::string const& text);

// The stream without its ticks.
std::string WithoutTicks(std::string const& stream);

// The numbers of the ticks.
std::vector<std::uint32_t> Numbers(std::vector<Tick> const& ticks);

// That many numbers from the first on.
std::vector<std::uint32_t> NumbersFrom(std::uint32_t first, std::size_t count);

// What a player makes of a file: the codecs of its programs, and every complaint.
Outcome Play(std::filesystem::path const& file);

} // namespace e2e

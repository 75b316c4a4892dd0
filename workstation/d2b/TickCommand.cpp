// d2b tick: copies a transport stream and inserts system ticks, on request with gaps and restarts.
#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "d2b/Commands.h"
#include "d2b/CopyWithTicks.h"

namespace workstation::d2b {
namespace {

// A gap or a restart at the tick with an index.
struct AtIndex {
    std::uint32_t index = 0;
    std::uint32_t value = 0;
};

// Reads "INDEX:VALUE", both in decimal. CLI11 finds it by its name.
bool lexical_cast(std::string const& text, AtIndex& out) {
    char const* const end = text.data() + text.size();
    auto const index = std::from_chars(text.data(), end, out.index);
    if (index.ec != std::errc() || index.ptr == end || *index.ptr != ':') {
        return false;
    }
    auto const value = std::from_chars(index.ptr + 1, end, out.value);
    return value.ec == std::errc() && value.ptr == end;
}

struct TickOptions {
    std::string source;
    std::string target;
    std::uint32_t first = 0;
    std::int32_t time = 0;
    unsigned int rate = ts::TickInserter::usualRate;
    std::vector<AtIndex> gaps;
    std::vector<AtIndex> restarts;
};

ts::TickInserter MakeInserter(TickOptions const& options) {
    ts::TickGaps numbers(options.first);
    for (auto const& [index, count] : options.gaps) {
        numbers.LeaveOut(index, count);
    }
    for (auto const& [index, tick] : options.restarts) {
        numbers.RestartAt(index, tick);
    }
    return ts::TickInserter(numbers, options.time, options.rate);
}

} // namespace

void AddTickCommand(CLI::App& tool) {
    constexpr unsigned int slowest = 1;
    constexpr unsigned int fastest = 1000;

    auto const options = std::make_shared<TickOptions>();
    auto* const command =
        tool.add_subcommand("tick", "Copies a transport stream and adds system ticks by its PCR.");
    command->add_option("IN", options->source, "A transport stream without ticks")->required();
    command->add_option("OUT", options->target, "The stream with ticks, may be IN")->required();
    command->add_option("--first", options->first, "Number of the first tick")
        ->required()
        ->option_text("TICK (required)");
    command->add_option("--time", options->time, "Its time in seconds since the epoch")
        ->required()
        ->option_text("SECONDS (required)");
    command->add_option("--rate", options->rate, "Ticks a second")
        ->option_text("N, up to " + std::to_string(fastest) + ", else " +
                      std::to_string(options->rate))
        ->check(CLI::Range(slowest, fastest));
    command
        ->add_option("--gap", options->gaps,
                     "Leaves COUNT ticks out, from the one with this index on (the first tick has "
                     "the index 0); those behind them are numbered as if they were there")
        ->type_name("INDEX:COUNT")
        ->allow_extra_args(false);
    command
        ->add_option("--restart", options->restarts,
                     "Numbers the ticks anew, from the one with this index on")
        ->type_name("INDEX:TICK")
        ->allow_extra_args(false);
    command->callback(
        [options] { CopyWithTicks(options->source, options->target, MakeInserter(*options)); });
}

} // namespace workstation::d2b

// d2b plot: pictures of what is in a pool.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

#include "d2b/Commands.h"
#include "d2b/EvidenceOptions.h"
#include "d2b/OutputFile.h"
#include "d2b/ScanSlots.h"
#include "evidence/FaultTimes.h"
#include "evidence/plotting/ClockScript.h"
#include "evidence/plotting/SlotClock.h"
#include "evidence/plotting/TimelineScript.h"

namespace workstation::d2b {
namespace {

namespace plotting = evidence::plotting;

using evidence::Catalogue;
using evidence::PoolView;
using plotting::Picture;
using plotting::PictureFormat;

struct PlotOptions {
    PoolOptions pool;
    OutputOptions output;
    std::string what;
    std::optional<int> slot;
    bool data = false;
    ProgressOptions progress;
};

// By the end of the name of the file; with --data and without a file it is SVG.
PictureFormat FormatOf(PlotOptions const& options) {
    std::string const& path = options.output.path;
    if (path.ends_with(".png")) {
        return PictureFormat::png;
    }
    if (!path.ends_with(".svg") && !(path.empty() && options.data)) {
        throw CLI::ValidationError("-o", path.empty()
                                             ? "needs a file, .svg or .png (or --data)"
                                             : "'" + path + "' ends with neither .svg nor .png");
    }
    return PictureFormat::svg;
}

// Before long work: whether there will be a picture.
void Prepare(PlotOptions const& options) {
    if (!options.data) {
        RequireWritable(options.output, options.pool);
        plotting::RequireGnuplot();
    }
}

void Finish(PlotOptions const& options, Picture const& picture, PictureFormat format) {
    if (options.data) {
        WriteOutput({.path = "-"}, picture.script);
    } else {
        WriteOutput(options.output, plotting::Draw(picture, format));
    }
}

void PlotTimeline(PlotOptions const& options) {
    auto const format = FormatOf(options);
    Prepare(options);
    Catalogue const catalogue = ReadCatalogue(options.pool);
    PoolView const pool = OpenPool(options.pool);
    auto const contents =
        evidence::ListContents(pool, HasDatabase(options.pool) ? &catalogue : nullptr);
    evidence::FaultTimes faults;
    ScanSlots(pool, SlotsToScan(pool, {}), faults, options.progress);
    auto const timeline = plotting::LayOutTimeline({contents, catalogue.Events(), faults.Faults()});
    Finish(options, plotting::PictureOf(timeline, format), format);
}

void PlotClock(PlotOptions const& options) {
    auto const format = FormatOf(options);
    Prepare(options);
    PoolView const pool = OpenPool(options.pool);
    int const number = options.slot.value();
    RequireSlot(pool, number);
    evidence::SlotReader slot(pool.Descriptor(), pool.SlotOffset(number), pool.Length(number));
    evidence::Progress progress(slot.Length(), WhenToShow(options.progress));
    auto const clock =
        plotting::ReadSlotClock(number, slot, [&](std::uint64_t bytes) { progress.Add(bytes); });
    Finish(options, plotting::PictureOf(clock, format), format);
}

void Plot(PlotOptions const& options) {
    bool const isClock = options.what == "clock";
    if (isClock != options.slot.has_value()) {
        throw CLI::ValidationError("SLOT", isClock ? "is needed: whose clock?" : "goes with clock");
    }
    isClock ? PlotClock(options) : PlotTimeline(options);
}

} // namespace

void AddPlotCommand(CLI::App& tool) {
    auto const options = std::make_shared<PlotOptions>();
    auto* const command =
        tool.add_subcommand("plot", "Draws what is in a pool; changes nothing. Needs gnuplot.");
    command
        ->add_option("WHAT", options->what,
                     "timeline: streams over time, with slots, events, gaps and faults; clock: the "
                     "ticks and the bit rate of a slot")
        ->required()
        ->check(CLI::IsMember({"timeline", "clock"}))
        ->option_text(" ");
    command->add_option("SLOT", options->slot, "The number of a stream file, for clock")
        ->option_text(" ");
    AddOutputOption(*command, options->output, "The picture; the name ends with .svg or .png")
        ->type_name("FILE");
    command->add_flag("--data", options->data,
                      "Prints what gnuplot is given, commands and data, and draws nothing");
    AddForceOption(*command, options->output);
    AddPoolOption(*command, options->pool);
    AddDatabaseOption(*command, options->pool);
    AddProgressOptions(*command, options->progress);
    command->callback([options] { Plot(*options); });
}

} // namespace workstation::d2b

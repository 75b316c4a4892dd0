// d2b report: one page about what is in a pool.
#include <CLI/CLI.hpp>
#include <ctime>
#include <memory>
#include <string>

#include "Root.h"
#include "d2b/Commands.h"
#include "d2b/EvidenceOptions.h"
#include "d2b/OutputFile.h"
#include "d2b/ScanSlots.h"
#include "evidence/reporting/ReportPage.h"

namespace workstation::d2b {
namespace {

using evidence::Catalogue;
using evidence::PoolView;

struct ReportOptions {
    PoolOptions pool;
    OutputOptions output;
    ProgressOptions progress;
};

// What is wrong with the image, and with the table entry of each slot.
std::vector<std::string> DamageOf(PoolView const& pool) {
    std::vector<std::string> damage = pool.Damage();
    for (int slot = 1; slot <= static_cast<int>(pool.SlotCount()); ++slot) {
        if (auto const ofSlot = pool.DamageOf(slot)) {
            damage.push_back(*ofSlot);
        }
    }
    return damage;
}

void Report(ReportOptions const& options) {
    RequireWritable(options.output, options.pool);
    bool const hasDatabase = HasDatabase(options.pool);
    Catalogue const catalogue = ReadCatalogue(options.pool);
    PoolView const pool = OpenPool(options.pool);
    auto const contents = evidence::ListContents(pool, hasDatabase ? &catalogue : nullptr);
    evidence::FaultTimes scan;
    evidence::reporting::FirstFaults faults(scan);
    ScanSlots(pool, SlotsToScan(pool, {}), faults, options.progress);
    evidence::reporting::ReportFacts const facts{
        .pool = options.pool.pool.empty() ? PoolPath() : options.pool.pool,
        .database = hasDatabase
                        ? std::make_optional(options.pool.database.empty() ? DatabasePath()
                                                                           : options.pool.database)
                        : std::nullopt,
        .time = std::time(nullptr),
        .imageSize = pool.FileSize(),
        .damage = DamageOf(pool),
        .catalogue = catalogue,
        .contents = contents,
        .scan = scan,
        .faults = faults,
    };
    WriteOutput(options.output, evidence::reporting::ReportPage(facts));
}

} // namespace

void AddReportCommand(CLI::App& tool) {
    auto const options = std::make_shared<ReportOptions>();
    auto* const command = tool.add_subcommand(
        "report", "Writes a page about what is in a pool, to be read in a browser.");
    AddOutputOption(*command, options->output, "The page; - is standard output")
        ->required()
        ->option_text("FILE.html (required)");
    AddForceOption(*command, options->output);
    AddPoolOption(*command, options->pool);
    AddDatabaseOption(*command, options->pool);
    AddProgressOptions(*command, options->progress);
    command->callback([options] { Report(*options); });
}

} // namespace workstation::d2b

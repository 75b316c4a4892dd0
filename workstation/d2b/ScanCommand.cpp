// d2b scan: shows where the stream files of a pool are damaged.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "d2b/Commands.h"
#include "d2b/EvidenceOptions.h"
#include "d2b/ScanSlots.h"
#include "evidence/DamageMap.h"

namespace workstation::d2b {
namespace {

using evidence::PoolView;

struct ScanOptions {
    PoolOptions pool;
    std::vector<int> slots;
    std::string map;
    bool json = false;
    ProgressOptions progress;
};

// Returns the exit status.
int Scan(ScanOptions const& options) {
    PoolView const pool = OpenPool(options.pool);
    auto const slots = SlotsToScan(pool, options.slots);
    auto const report =
        options.json ? evidence::MakeJsonReport(std::cout) : evidence::MakeTextReport(std::cout);
    std::optional<evidence::DamageMap> map;
    if (!options.map.empty()) {
        map.emplace(options.map, pool, *report);
    }
    std::uint64_t const faults = ScanSlots(
        pool, slots, map ? static_cast<evidence::ScanReport&>(*map) : *report, options.progress);
    if (map) {
        map->Complete();
    }
    if (!std::cout) {
        throw Failure(EIO, "cannot write the report");
    }
    return faults == 0 && pool.Damage().empty() ? 0 : damageFound;
}

} // namespace

void AddScanCommand(CLI::App& tool) {
    auto const options = std::make_shared<ScanOptions>();
    auto* const command =
        tool.add_subcommand("scan", "Shows where stream files are damaged; changes nothing.");
    command->add_option("SLOT", options->slots,
                        "Numbers of stream files; all that hold data if none is given");
    AddPoolOption(*command, options->pool);
    command
        ->add_option("--map", options->map, "Writes a mapfile of the image, as GNU ddrescue does")
        ->type_name("FILE");
    AddJsonOption(*command, options->json);
    AddProgressOptions(*command, options->progress);
    command->callback([options] {
        if (int const status = Scan(*options)) {
            throw CLI::RuntimeError(status);
        }
    });
}

} // namespace workstation::d2b

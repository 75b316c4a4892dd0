// d2b scan: shows where the stream files of a pool are damaged.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "d2b/Commands.h"
#include "d2b/EvidenceOptions.h"
#include "evidence/DamageMap.h"
#include "evidence/PoolScan.h"
#include "pool/PoolLayout.h"

namespace workstation::d2b {
namespace {

using evidence::PoolView;
using evidence::Progress;

struct ScanOptions {
    PoolOptions pool;
    std::vector<int> slots;
    std::string map;
    bool json = false;
    ProgressOptions progress;
};

// Those asked for, or all that state a length; ascending, each once.
std::vector<int> SlotsToScan(PoolView const& pool, std::vector<int> slots) {
    auto const slotCount = static_cast<int>(pool.SlotCount());
    for (int const slot : slots) {
        if (slot < 1 || slot > slotCount) {
            throw Failure(ENOENT, pool::StreamFileName(slot) +
                                      ": the pool has no such file; it has " +
                                      std::to_string(slotCount));
        }
    }
    if (slots.empty()) {
        for (int slot = 1; slot <= slotCount; ++slot) {
            if (pool.Length(slot) > 0) {
                slots.push_back(slot);
            }
        }
    }
    std::ranges::sort(slots);
    slots.erase(std::unique(slots.begin(), slots.end()), slots.end());
    return slots;
}

// Returns the exit status.
int Scan(ScanOptions const& options) {
    PoolView const pool = OpenPool(options.pool);
    auto const slots = SlotsToScan(pool, options.slots);
    std::uint64_t total = 0;
    for (int const slot : slots) {
        total += pool.Length(slot);
    }
    auto const report =
        options.json ? evidence::MakeJsonReport(std::cout) : evidence::MakeTextReport(std::cout);
    std::optional<evidence::DamageMap> map;
    if (!options.map.empty()) {
        map.emplace(options.map, pool, *report);
    }
    std::uint64_t faults = 0;
    {
        Progress progress(total, WhenToShow(options.progress));
        faults = evidence::ScanPool(pool, slots,
                                    map ? static_cast<evidence::ScanReport&>(*map) : *report,
                                    [&](std::uint64_t bytes) { progress.Add(bytes); });
    }
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

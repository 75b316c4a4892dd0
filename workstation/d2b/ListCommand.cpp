// d2b list: shows what is in a pool and in its event database.
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
#include "evidence/ListReport.h"
#include "evidence/PoolListing.h"

namespace workstation::d2b {
namespace {

using evidence::Catalogue;
using evidence::ListReport;
using evidence::PoolView;
using Kind = ListReport::Kind;

struct ListOptions {
    std::string what = "slots";
    PoolOptions pool;
    bool json = false;
};

Kind KindOf(std::string const& what) {
    if (what == "streams") {
        return Kind::streams;
    }
    if (what == "events") {
        return Kind::events;
    }
    return what == "recordings" ? Kind::recordings : Kind::slots;
}

// Returns whether the table of files is sound. `catalogue` is null where there is no database.
bool ListSlots(PoolView const& pool, Catalogue const* catalogue, ListReport& report) {
    bool isSound = true;
    for (int slot = 1; slot <= static_cast<int>(pool.SlotCount()); ++slot) {
        if (auto const damage = pool.DamageOf(slot)) {
            std::cerr << "d2b: " << *damage << "\n";
            isSound = false;
        }
        report.Add(evidence::ListSlot(pool, catalogue, slot),
                   catalogue == nullptr ? std::vector<std::string>() : catalogue->EventsOf(slot));
    }
    return isSound;
}

template <typename Row>
void AddAll(std::vector<Row> const& rows, ListReport& report) {
    for (Row const& row : rows) {
        report.Add(row);
    }
}

// Returns the exit status.
int List(ListOptions const& options) {
    Kind const kind = KindOf(options.what);
    bool const hasDatabase = HasDatabase(options.pool);
    if (kind != Kind::slots && !hasDatabase) {
        std::cerr << "d2b: without --db only the slots of an image are known\n";
    }
    Catalogue const catalogue = ReadCatalogue(options.pool);
    std::optional<PoolView> pool;
    if (kind == Kind::slots || kind == Kind::streams || !options.pool.pool.empty()) {
        pool.emplace(OpenPool(options.pool));
    }
    auto const report = options.json ? evidence::MakeJsonList(kind, std::cout)
                                     : evidence::MakeTextList(kind, std::cout);
    bool isSound = !pool || pool->Damage().empty();
    switch (kind) {
    case Kind::slots:
        isSound = ListSlots(*pool, hasDatabase ? &catalogue : nullptr, *report) && isSound;
        break;
    case Kind::streams:
        AddAll(evidence::ListStreams(*pool, catalogue), *report);
        break;
    case Kind::events:
        AddAll(catalogue.Events(), *report);
        break;
    case Kind::recordings:
        AddAll(catalogue.Recordings(), *report);
        break;
    }
    report->End();
    if (!std::cout) {
        throw Failure(EIO, "cannot write the list");
    }
    return isSound ? 0 : damageFound;
}

} // namespace

void AddListCommand(CLI::App& tool) {
    auto const options = std::make_shared<ListOptions>();
    auto* const command =
        tool.add_subcommand("list", "Shows what is in a pool and its database; changes nothing.");
    command
        ->add_option("WHAT", options->what,
                     "slots, streams, events or recordings; slots if nothing is given")
        ->check(CLI::IsMember({"slots", "streams", "events", "recordings"}))
        ->option_text(" ");
    AddPoolOption(*command, options->pool);
    AddDatabaseOption(*command, options->pool);
    AddJsonOption(*command, options->json);
    command->callback([options] {
        if (int const status = List(*options)) {
            throw CLI::RuntimeError(status);
        }
    });
}

} // namespace workstation::d2b

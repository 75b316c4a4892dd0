// The options that the evidence verbs of the pool tool share.
#include "d2b/EvidenceOptions.h"

#include <CLI/CLI.hpp>
#include <ctime>
#include <filesystem>
#include <iostream>

#include "Root.h"
#include "evidence/TimeArgument.h"

namespace workstation::d2b {

void AddPoolOption(CLI::App& command, PoolOptions& options) {
    command.add_option("--pool", options.pool, "A pool image (unset: the recorder's)")
        ->type_name("IMAGE");
}

void AddDatabaseOption(CLI::App& command, PoolOptions& options) {
    command
        .add_option("--db", options.database,
                    "An event database or a backup of one (unset: the recorder's, or none for an "
                    "image)")
        ->type_name("DATABASE");
}

void AddJsonOption(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "Prints one JSON document");
}

void AddProgressOptions(CLI::App& command, ProgressOptions& options) {
    auto* const show = command.add_flag("--progress", options.show,
                                        "Shows progress, also if standard error is no terminal");
    command.add_flag("--no-progress", options.hide, "Shows no progress")->excludes(show);
}

void AddTimeOption(CLI::App& command, std::string const& name, std::optional<std::int64_t>& time,
                   std::string const& description) {
    auto const parse = [name, &time](std::string const& text) {
        time = evidence::ParseTime(text, std::time(nullptr));
        if (!time) {
            throw CLI::ValidationError(name, "'" + text +
                                                 "' is no time: YYYY-MM-DD HH:MM:SS, HH:MM[:SS], "
                                                 "either with Z for UTC, or @SECONDS");
        }
    };
    command.add_option_function<std::string>(name, parse, description)->type_name("TIME");
}

evidence::PoolView OpenPool(PoolOptions const& options) {
    evidence::PoolView pool(options.pool.empty() ? PoolPath() : options.pool);
    for (std::string const& damage : pool.Damage()) {
        std::cerr << "d2b: " << damage << "\n";
    }
    return pool;
}

bool HasDatabase(PoolOptions const& options) {
    return options.pool.empty() || !options.database.empty();
}

evidence::Catalogue ReadCatalogue(PoolOptions const& options) {
    if (!options.database.empty()) {
        return evidence::Catalogue(options.database);
    }
    std::error_code ignored;
    bool const isThere = HasDatabase(options) && std::filesystem::exists(DatabasePath(), ignored);
    return isThere ? evidence::Catalogue(DatabasePath()) : evidence::Catalogue();
}

evidence::Progress::When WhenToShow(ProgressOptions const& options) {
    using When = evidence::Progress::When;
    if (options.hide) {
        return When::never;
    }
    return options.show ? When::always : When::onTerminal;
}

} // namespace workstation::d2b

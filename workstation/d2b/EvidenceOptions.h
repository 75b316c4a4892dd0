// The options that the evidence verbs of the pool tool share.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "evidence/Catalogue.h"
#include "evidence/PoolView.h"
#include "evidence/Progress.h"

namespace CLI {
class App;
}

namespace workstation::d2b {

// The status of a verb that did its work and found damage.
constexpr int damageFound = 3;

// Which pool and which database are looked at. Without either they are those of the recorder.
struct PoolOptions {
    std::string pool;
    std::string database;
};

struct ProgressOptions {
    bool show = false;
    bool hide = false;
};

// Each adds options to a command; the values must outlive it.
void AddPoolOption(CLI::App& command, PoolOptions& options);     // --pool
void AddDatabaseOption(CLI::App& command, PoolOptions& options); // --db
void AddJsonOption(CLI::App& command, bool& json);               // --json
void AddProgressOptions(CLI::App& command, ProgressOptions& options);

// An option with a TIME, such as "--from". A text that names no time is a misuse.
void AddTimeOption(CLI::App& command, std::string const& name, std::optional<std::int64_t>& time,
                   std::string const& description);

// Opens the pool, and shows what is wrong with the image as a whole on standard error. Throws
// Failure.
evidence::PoolView OpenPool(PoolOptions const& options);

// Whether there is a database to look at: not for a pool image that is named alone.
bool HasDatabase(PoolOptions const& options);

// Reads the database; knows nothing where there is none, also where the recorder has not made its
// own yet. Throws Failure.
evidence::Catalogue ReadCatalogue(PoolOptions const& options);

evidence::Progress::When WhenToShow(ProgressOptions const& options);

} // namespace workstation::d2b

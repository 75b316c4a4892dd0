// d2b set: changes the table entry of a stream file.
#include "d2b/SetCommand.h"

#include <fcntl.h>

#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <string>

#include "Failure.h"
#include "Root.h"
#include "d2b/Commands.h"
#include "pool/PoolImage.h"
#include "pool/WriterLock.h"

namespace workstation::d2b {
namespace {

template <typename Value>
void SetIfGiven(pool::PoolImage& pool, int fileNumber, pool::EntryWord word,
                std::optional<Value> const& value) {
    if (value) {
        pool.Set(fileNumber, word, *value);
    }
}

} // namespace

void SetStreamFile(int fileNumber, SetOptions const& options) {
    auto const pool = pool::PoolImage::Open(PoolPath());
    if (!pool->Has(fileNumber)) {
        throw Failure(ENOENT, pool::NoSuchStreamFile(*pool, fileNumber));
    }
    FileDescriptor const file = pool->OpenDescriptor(O_RDWR, "cannot open '" + pool->Path() + "'");
    pool::LockForWriting(file.Get(), fileNumber);
    SetIfGiven(*pool, fileNumber, pool::EntryWord::length, options.length);
    SetIfGiven(*pool, fileNumber, pool::EntryWord::controller, options.controller);
    SetIfGiven(*pool, fileNumber, pool::EntryWord::dbMatch, options.dbMatch);
    SetIfGiven(*pool, fileNumber, pool::EntryWord::atomicReaders, options.atomicReaders);
    pool->SyncTable();
}

void AddSetCommand(CLI::App& tool) {
    constexpr std::uint32_t zero = 0;
    constexpr std::uint32_t maxController = 255;
    constexpr std::uint32_t maxReaders = std::numeric_limits<std::int32_t>::max();

    auto const fileNumber = std::make_shared<int>();
    auto const options = std::make_shared<SetOptions>();
    auto* const command = tool.add_subcommand("set", "Changes the table entry of a stream file.");
    command->add_option("NUMBER", *fileNumber, "Number of the stream file, from 1")->required();
    auto* const values = command->add_option_group("Values");
    values->require_option();
    values->add_option("--length", options->length, "Stated length in bytes")
        ->option_text("BYTES, up to " + std::to_string(pool::poolSlotSize))
        ->check(CLI::Range(zero, pool::poolSlotSize));
    values->add_option("--controller", options->controller, "Write controller, 0 for nobody")
        ->option_text("N, up to " + std::to_string(maxController))
        ->check(CLI::Range(zero, maxController));
    values->add_option("--db-match", options->dbMatch, "Known to the stream database as it is")
        ->option_text("true or false")
        ->check(CLI::IsMember({"true", "false"}));
    values->add_option("--readers", options->atomicReaders, "Number of atomic readers")
        ->option_text("N")
        ->check(CLI::Range(zero, maxReaders));
    command->callback([fileNumber, options] { SetStreamFile(*fileNumber, *options); });
}

} // namespace workstation::d2b

// d2b verify: says whether an exported file is as it was.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "Failure.h"
#include "d2b/Commands.h"
#include "d2b/EvidenceOptions.h"
#include "evidence/exporting/Verification.h"

namespace workstation::d2b {
namespace {

namespace exporting = evidence::exporting;

struct VerifyOptions {
    PoolOptions pool;
    std::string manifest;
    bool json = false;
    ProgressOptions progress;
};

// Returns the exit status.
int Verify(VerifyOptions const& options) {
    auto const stated = exporting::ReadManifest(options.manifest);
    std::optional<evidence::PoolView> pool;
    if (!options.pool.pool.empty()) {
        pool.emplace(OpenPool(options.pool));
    }
    exporting::Verification verification;
    {
        evidence::Progress progress(stated.bytes * (pool ? 2 : 1), WhenToShow(options.progress));
        verification = exporting::Verify(options.manifest, stated, pool ? &*pool : nullptr,
                                         [&](std::uint64_t bytes) { progress.Add(bytes); });
    }
    auto const print = options.json ? exporting::PrintJson : exporting::PrintText;
    print(verification, stated, std::cout);
    if (!std::cout) {
        throw Failure(EIO, "cannot write the report");
    }
    return verification.mismatches.empty() ? 0 : damageFound;
}

} // namespace

void AddVerifyCommand(CLI::App& tool) {
    auto const options = std::make_shared<VerifyOptions>();
    auto* const command =
        tool.add_subcommand("verify", "Says whether an exported file is as it was.");
    command->add_option("MANIFEST", options->manifest, "The manifest beside the exported file")
        ->required()
        ->option_text("OUT.ts.json (required)");
    command
        ->add_option("--pool", options->pool.pool,
                     "Compares the pieces of this pool image with the manifest too")
        ->type_name("IMAGE");
    AddJsonOption(*command, options->json);
    AddProgressOptions(*command, options->progress);
    command->callback([options] {
        if (int const status = Verify(*options)) {
            throw CLI::RuntimeError(status);
        }
    });
}

} // namespace workstation::d2b

// d2b check: says what is damaged in the pool, and repairs it.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>

#include "Root.h"
#include "d2b/CheckPool.h"
#include "d2b/Commands.h"

namespace workstation::d2b {
namespace {

bool Has(std::vector<Finding> const& findings, FindingKind kind) {
    return std::ranges::any_of(findings,
                               [&](Finding const& finding) { return finding.kind == kind; });
}

// Returns whether any damage remains.
bool PrintFindings(std::vector<Finding> const& findings) {
    for (Finding const& finding : findings) {
        std::cout << finding.text << "\n";
    }
    bool const damageRemains = Has(findings, FindingKind::remains);
    if (!damageRemains && !Has(findings, FindingKind::repaired)) {
        std::cout << "pool '" << PoolPath() << "': nothing is wrong\n";
    }
    std::cout << std::flush;
    return damageRemains;
}

} // namespace

void AddCheckCommand(CLI::App& tool) {
    auto const repair = std::make_shared<bool>(false);
    auto* const command = tool.add_subcommand("check", "Looks for damage, one line for each.");
    command->add_flag("--repair", *repair, "Puts right what can be put right");
    command->callback([repair] {
        if (PrintFindings(CheckPool(*repair))) {
            throw CLI::RuntimeError(1);
        }
    });
}

} // namespace workstation::d2b

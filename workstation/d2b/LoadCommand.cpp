// d2b load: puts an ordinary file into the pool.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "d2b/Commands.h"
#include "d2b/LoadStreamFile.h"

namespace workstation::d2b {

void AddLoadCommand(CLI::App& tool) {
    struct Options {
        int fileNumber = 0;
        std::string source;
    };
    auto const options = std::make_shared<Options>();
    auto* const command = tool.add_subcommand("load", "Writes a file over a stream file.");
    command->add_option("NUMBER", options->fileNumber, "Number of the stream file, from 1")
        ->required();
    command->add_option("FILE", options->source, "What to write")->required();
    command->callback([options] { LoadStreamFile(options->fileNumber, options->source); });
}

} // namespace workstation::d2b

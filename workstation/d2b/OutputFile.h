// The file that a verb writes, which appears whole or not at all.
#pragma once

#include <string>

#include "d2b/EvidenceOptions.h"

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace workstation::d2b {

struct OutputOptions {
    std::string path; // "-" is standard output
    bool force = false;

    bool IsStandardOutput() const { return path == "-"; }
};

CLI::Option* AddOutputOption(CLI::App& command, OutputOptions& options,
                             std::string const& description);   // -o
void AddForceOption(CLI::App& command, OutputOptions& options); // --force

// To be called before long work. Throws Failure when the file must not or cannot be written: when
// it is there and may not be replaced, or is the pool or the database.
void RequireWritable(OutputOptions const& options, PoolOptions const& pool);

// Throws Failure when `path` is the pool or the database.
void RefuseOwnFile(std::string const& path, PoolOptions const& pool);

// Writes the whole file, or to standard output. Throws Failure, also when a file of the name has
// appeared meanwhile and may not be replaced.
void WriteOutput(OutputOptions const& options, std::string const& content);

} // namespace workstation::d2b

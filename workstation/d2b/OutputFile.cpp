// The file that a verb writes, which appears whole or not at all.
#include "d2b/OutputFile.h"

#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <filesystem>
#include <iostream>

#include "Failure.h"
#include "NewFile.h"
#include "Root.h"
#include "UnnamedFile.h"

namespace workstation::d2b {

CLI::Option* AddOutputOption(CLI::App& command, OutputOptions& options,
                             std::string const& description) {
    return command.add_option("-o", options.path, description);
}

void AddForceOption(CLI::App& command, OutputOptions& options) {
    command.add_flag("--force", options.force, "Replaces a file that is there");
}

void RefuseOwnFile(std::string const& path, PoolOptions const& pool) {
    for (std::string const& used : {pool.pool.empty() ? PoolPath() : pool.pool,
                                    pool.database.empty() ? DatabasePath() : pool.database}) {
        std::error_code ignored;
        if (std::filesystem::equivalent(path, used, ignored)) {
            throw Failure(EINVAL, "'" + path + "' is what is read");
        }
    }
}

void RequireWritable(OutputOptions const& options, PoolOptions const& pool) {
    if (options.IsStandardOutput()) {
        return;
    }
    RefuseOwnFile(options.path, pool);
    struct stat status {};
    if (lstat(options.path.c_str(), &status) != 0) {
        UnnamedFile(options.path); // fails where no file can be made
        return;
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(EINVAL, "'" + options.path + "' is not a regular file");
    }
    if (!options.force) {
        throw Failure(EEXIST, "'" + options.path + "' exists (--force replaces it)");
    }
}

void WriteOutput(OutputOptions const& options, std::string const& content) {
    if (options.IsStandardOutput()) {
        std::cout << content << std::flush;
        if (!std::cout) {
            throw Failure(EIO, "cannot write to standard output");
        }
        return;
    }
    auto const* const bytes = reinterpret_cast<unsigned char const*>(content.data());
    if (options.force) {
        NewFile file(options.path);
        file.Write(bytes, content.size());
        file.Complete();
        return;
    }
    UnnamedFile file(options.path);
    file.Write({bytes, content.size()});
    file.Publish();
    file.Keep();
}

} // namespace workstation::d2b

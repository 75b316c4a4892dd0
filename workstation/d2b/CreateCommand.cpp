// d2b create: makes a pool.
#include "d2b/CreateCommand.h"

#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "Root.h"
#include "d2b/Commands.h"
#include "pool/PoolImage.h"
#include "pool/RootLock.h"

namespace workstation::d2b {
namespace {

enum class Existing { nothing, directory, file };

Existing WhatLiesAt(std::string const& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return Existing::nothing;
    }
    return S_ISDIR(status.st_mode) ? Existing::directory : Existing::file;
}

bool MakeRoot(Trouble& why) {
    std::filesystem::path const root = RootDirectory();
    std::error_code ignored; // what matters shows in mkdir
    std::filesystem::create_directories(root.parent_path(), ignored);
    return mkdir(root.c_str(), 0700) == 0 || errno == EEXIST ||
           FailWithErrno(why, "cannot create '" + root.string() + "'");
}

bool MakeDirectoryPool(std::string const& path, Existing existing, Trouble& why) {
    if ((existing == Existing::file && unlink(path.c_str()) != 0) ||
        (existing == Existing::directory && rmdir(path.c_str()) != 0)) {
        return FailWithErrno(why, "cannot replace '" + path + "'");
    }
    return mkdir(path.c_str(), 0700) == 0 || FailWithErrno(why, "cannot create '" + path + "'");
}

// The new image takes the place of the old one when it is complete: others may have that mapped.
bool MakeImagePool(std::string const& path, Existing existing, std::uint32_t fileCount,
                   Trouble& why) {
    std::string const unfinished = path + ".new";
    bool const isMade = pool::PoolImage::Create(unfinished, fileCount, why) &&
                        (((existing != Existing::directory || rmdir(path.c_str()) == 0) &&
                          std::rename(unfinished.c_str(), path.c_str()) == 0) ||
                         FailWithErrno(why, "cannot replace '" + path + "'"));
    if (!isMade) {
        unlink(unfinished.c_str());
    }
    return isMade;
}

} // namespace

bool CreatePool(CreateOptions const& options, Trouble& why) {
    if (!MakeRoot(why)) {
        return false;
    }
    FileDescriptor const ownership = pool::LockRoot(why);
    if (!ownership) {
        return false;
    }
    std::string const path = PoolPath();
    Existing const existing = WhatLiesAt(path);
    if (existing != Existing::nothing && !options.replace) {
        return Fail(why, EEXIST, "pool '" + path + "' exists already (--force replaces it)");
    }
    return options.isExt4 ? MakeDirectoryPool(path, existing, why)
                          : MakeImagePool(path, existing, options.fileCount, why);
}

void AddCreateCommand(CLI::App& tool) {
    auto const options = std::make_shared<CreateOptions>();
    auto* const command = tool.add_subcommand("create", "Makes a pool of empty stream files.");
    command->add_option("--files", options->fileCount, "Number of stream files")
        ->required()
        ->option_text("N, up to " + std::to_string(pool::poolMaxFileCount) + " (required)")
        ->check(CLI::Range(std::uint32_t{0}, pool::poolMaxFileCount));
    command->add_flag("--ext4", options->isExt4, "Makes a directory instead of an image");
    command->add_flag("--force", options->replace, "Replaces an existing pool");
    command->callback([options] {
        Trouble why;
        if (!CreatePool(*options, why)) {
            throw CommandFailure(why);
        }
    });
}

} // namespace workstation::d2b

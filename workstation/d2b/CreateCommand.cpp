// d2b create: makes a pool.
#include "d2b/CreateCommand.h"

#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Failure.h"
#include "NewFile.h"
#include "Root.h"
#include "d2b/Commands.h"
#include "pool/PoolImage.h"
#include "pool/RootLock.h"

namespace workstation::d2b {
namespace {

namespace fs = std::filesystem;

enum class Existing { nothing, directory, file };

Existing WhatLiesAt(std::string const& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return Existing::nothing;
    }
    return S_ISDIR(status.st_mode) ? Existing::directory : Existing::file;
}

// The directories that a path leads through and that do not exist, itself included.
std::vector<fs::path> MissingDirectories(fs::path const& path) {
    std::vector<fs::path> missing;
    for (fs::path directory = fs::absolute(path); access(directory.c_str(), F_OK) != 0;
         directory = directory.parent_path()) {
        missing.push_back(directory);
    }
    return missing;
}

void MakeRoot() {
    fs::path const root = RootDirectory();
    auto const made = MissingDirectories(root);
    std::error_code ignored; // a failure shows in mkdir
    fs::create_directories(root.parent_path(), ignored);
    if (mkdir(root.c_str(), 0700) != 0 && errno != EEXIST) {
        throw SystemFailure("cannot create '" + root.string() + "'");
    }
    for (fs::path const& directory : made) {
        SyncDirectory(directory.parent_path());
    }
}

void MakeDirectoryPool(std::string const& path, Existing existing) {
    if ((existing == Existing::file && unlink(path.c_str()) != 0) ||
        (existing == Existing::directory && rmdir(path.c_str()) != 0)) {
        throw SystemFailure("cannot replace '" + path + "'");
    }
    if (mkdir(path.c_str(), 0700) != 0) {
        throw SystemFailure("cannot create '" + path + "'");
    }
}

// The new image takes the place of the old one when it is complete: other processes may have mapped
// the old one.
void MakeImagePool(std::string const& path, Existing existing, std::uint32_t fileCount) {
    UnfinishedFile unfinished(path + ".new");
    pool::PoolImage::Create(unfinished.Path(), fileCount);
    if ((existing == Existing::directory && rmdir(path.c_str()) != 0) ||
        !unfinished.RenameTo(path)) {
        throw SystemFailure("cannot replace '" + path + "'");
    }
}

} // namespace

void CreatePool(CreateOptions const& options) {
    MakeRoot();
    FileDescriptor const ownership = pool::LockRoot();
    std::string const path = PoolPath();
    Existing const existing = WhatLiesAt(path);
    if (existing != Existing::nothing && !options.replace) {
        throw Failure(EEXIST, pool::PoolName(path) + " exists already (--force replaces it)");
    }
    if (options.isExt4) {
        MakeDirectoryPool(path, existing);
    } else {
        MakeImagePool(path, existing, options.fileCount);
    }
    SyncDirectory(RootDirectory());
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
    command->callback([options] { CreatePool(*options); });
}

} // namespace workstation::d2b

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

// Makes the recorder's directory when it is missing. Returns the directories that had to be made,
// the deepest first.
std::vector<fs::path> MakeRoot() {
    fs::path const root = RootDirectory();
    auto made = MissingDirectories(root);
    std::error_code ignored; // a failure shows in mkdir
    fs::create_directories(root.parent_path(), ignored);
    if (mkdir(root.c_str(), 0700) != 0 && errno != EEXIST) {
        throw SystemFailure("cannot create '" + root.string() + "'");
    }
    for (fs::path const& directory : made) {
        SyncDirectory(directory.parent_path());
    }
    return made;
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
void MakeImagePool(std::string const& path, Existing existing, CreateOptions const& options) {
    using Blocks = pool::PoolImage::Blocks;
    UnfinishedFile unfinished(path + ".new");
    pool::PoolImage::Create(unfinished.Path(), options.fileCount,
                            options.isAllocated ? Blocks::allocated : Blocks::sparse);
    if ((existing == Existing::directory && rmdir(path.c_str()) != 0) ||
        !unfinished.RenameTo(path)) {
        throw SystemFailure("cannot replace '" + path + "'");
    }
}

void MakePool(CreateOptions const& options) {
    FileDescriptor const ownership = pool::LockRoot();
    std::string const path = PoolPath();
    Existing const existing = WhatLiesAt(path);
    if (existing != Existing::nothing && !options.replace) {
        throw Failure(EEXIST, pool::PoolName(path) + " exists already (--force replaces it)");
    }
    if (options.isExt4) {
        MakeDirectoryPool(path, existing);
    } else {
        MakeImagePool(path, existing, options);
    }
    SyncDirectory(RootDirectory());
}

// The number of files of an image that is not larger than this.
std::uint32_t FileCountWithin(std::uint64_t size) {
    std::uint32_t const count = pool::PoolFileCountWithin(size);
    if (count == 0) {
        throw CLI::ValidationError("--size", std::to_string(size) +
                                                 " bytes are too few for a stream file: it takes " +
                                                 std::to_string(pool::PoolImageSize(1)));
    }
    if (count > pool::poolMaxFileCount) {
        throw CLI::ValidationError(
            "--size", std::to_string(size) + " bytes are too many: " +
                          std::to_string(pool::poolMaxFileCount) + " stream files take " +
                          std::to_string(pool::PoolImageSize(pool::poolMaxFileCount)));
    }
    return count;
}

} // namespace

void CreatePool(CreateOptions const& options) {
    auto const made = MakeRoot();
    try {
        MakePool(options);
    } catch (Failure const&) {
        for (fs::path const& directory : made) {
            rmdir(directory.c_str());
        }
        throw;
    }
}

void AddCreateCommand(CLI::App& tool) {
    auto const options = std::make_shared<CreateOptions>();
    auto* const command = tool.add_subcommand("create", "Makes a pool of empty stream files.");
    auto* const files =
        command->add_option("--files", options->fileCount, "Number of stream files; or --size")
            ->option_text("N, up to " + std::to_string(pool::poolMaxFileCount))
            ->check(CLI::Range(std::uint32_t{0}, pool::poolMaxFileCount));
    auto* const size =
        command
            ->add_option_function<std::uint64_t>(
                "--size",
                [options](std::uint64_t bytes) { options->fileCount = FileCountWithin(bytes); },
                "As many stream files as fit, in bytes or with K, M, G or T")
            ->option_text("SIZE")
            ->transform(CLI::AsSizeValue(false))
            ->excludes(files);
    auto* const ext4 =
        command->add_flag("--ext4", options->isExt4, "Makes a directory instead of an image");
    command
        ->add_flag("--allocate", options->isAllocated, "Takes the whole space of the image at once")
        ->excludes(ext4);
    command->add_flag("--force", options->replace, "Replaces an existing pool");
    command->callback([options, files, size] {
        if (files->count() + size->count() == 0) {
            throw CLI::RequiredError("--files or --size");
        }
        CreatePool(*options);
    });
}

} // namespace workstation::d2b

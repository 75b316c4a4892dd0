// Files that appear under their name only when they are complete.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "FileDescriptor.h"

namespace workstation {

// Makes the names in a directory durable: a new file can be durable and its name not. Throws
// Failure.
void SyncDirectory(std::string const& path);

// The temporary path of a file that is being made. The file is removed unless it was renamed.
class UnfinishedFile {
public:
    explicit UnfinishedFile(std::string path)
        : path_(std::move(path)) {}
    ~UnfinishedFile();

    UnfinishedFile(UnfinishedFile const&) = delete;
    UnfinishedFile& operator=(UnfinishedFile const&) = delete;

    std::string const& Path() const { return path_; }

    // Puts the file in its place, over whatever file is there. False with errno on failure.
    bool RenameTo(std::string const& path);

private:
    std::string path_; // empty when renamed
};

// Makes a new file for reading and writing: at the end of `path` XXXXXX is replaced so that no file
// has the name. It has the access rights of any new file. Empty with errno on failure.
FileDescriptor MakeTemporaryFile(std::string& path);

// Writes all the bytes. Throws Failure; `path` names the file in its text.
void WriteAll(int descriptor, std::span<unsigned char const> bytes, std::string const& path);

// A file that is written beside its place under a temporary name. Unless it is completed it is
// removed, and whatever has its name stays as it is.
class NewFile {
public:
    // Begins the file that is to be `path`. Throws Failure, also (EINVAL) when something is there
    // that is not a regular file.
    explicit NewFile(std::string const& path);

    // Writes all the bytes or throws Failure.
    void Write(unsigned char const* bytes, std::size_t count);

    // Closes the file and puts it in its place. Throws Failure. Nothing may be written afterwards.
    void Complete();

private:
    std::string path_;
    FileDescriptor file_;
    std::optional<UnfinishedFile> unfinished_; // empty only while the constructor runs
};

} // namespace workstation

// Files that have no name until they are complete.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "FileDescriptor.h"
#include "NewFile.h"

namespace workstation {

// Writes all the bytes. Throws Failure; `path` names the file in its text.
void WriteAll(int descriptor, std::span<unsigned char const> bytes, std::string const& path);

// A file in the directory of its later path. Unlike NewFile it leaves nothing if the process is
// killed, and never takes the place of a file. Where the file system has no files without a name, it
// has a temporary one, which is removed with the object.
class UnnamedFile {
public:
    // Throws Failure, as the other operations do.
    explicit UnnamedFile(std::string path);

    std::string const& Path() const { return path_; }
    int Descriptor() const { return file_.Get(); }

    void Write(std::span<unsigned char const> bytes);

    // Returns when what was written is on the disk.
    void Flush();

    // Gives the file its name, to be called once. Fails with EEXIST when something has the name. The
    // name is durable when the directory was flushed.
    void Publish();

private:
    std::string path_;
    FileDescriptor file_;
    std::optional<UnfinishedFile> temporary_;
};

// The directory in which a path lies, "." for a name alone.
std::string DirectoryOf(std::string const& path);

// Returns when the names in the directory are on the disk. Throws Failure.
void FlushDirectory(std::string const& path);

} // namespace workstation

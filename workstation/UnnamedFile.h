// Files that have no name until they are complete.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "FileDescriptor.h"
#include "NewFile.h"

namespace workstation {

// A file in the directory of its later path. Unlike NewFile it leaves nothing if the process is
// killed, and never takes the place of a file. Where the file system has no files without a name,
// it has a temporary one, which is removed with the object.
class UnnamedFile {
public:
    // Throws Failure, as the other operations do.
    explicit UnnamedFile(std::string path);
    ~UnnamedFile();

    UnnamedFile(UnnamedFile const&) = delete;
    UnnamedFile& operator=(UnnamedFile const&) = delete;

    std::string const& Path() const { return path_; }
    int Descriptor() const { return file_.Get(); }

    void Write(std::span<unsigned char const> bytes);

    // Returns when what was written is on the disk.
    void Flush();

    // Gives the file its name, to be called once. Fails with EEXIST when something has the name.
    // The file is removed with the object unless it is kept. SyncDirectory makes the name durable.
    void Publish();
    void Keep() { isPublished_ = false; }

private:
    std::string path_;
    FileDescriptor file_;
    std::optional<UnfinishedFile> temporary_;
    bool isPublished_ = false; // and not kept
};

// The directory in which a path lies: "." for a name alone.
std::string DirectoryOf(std::string const& path);

} // namespace workstation

// A file that appears under its name only when it is complete.
#pragma once

#include <cstddef>
#include <string>

#include "FileDescriptor.h"

namespace workstation {

// Written beside its place under a temporary name. Unless it is completed it is removed, and
// whatever has its name stays as it is.
class NewFile {
public:
    // Begins the file that is to be `path`. Throws Failure, also (EINVAL) when something is there
    // that is not a regular file.
    explicit NewFile(std::string const& path);
    ~NewFile();

    NewFile(NewFile const&) = delete;
    NewFile& operator=(NewFile const&) = delete;

    // Writes all the bytes or throws Failure.
    void Write(unsigned char const* bytes, std::size_t count);

    // Closes the file and puts it in its place. Throws Failure. Nothing may be written afterwards.
    void Complete();

private:
    std::string path_;
    std::string temporaryPath_; // empty when complete
    FileDescriptor file_;
};

} // namespace workstation

// A file that stands under its name only once it is complete.
#pragma once

#include <cstddef>
#include <string>

#include "FileDescriptor.h"
#include "Trouble.h"

namespace workstation {

// Written beside its place under another name, which disappears when the file is given up.
class NewFile {
public:
    NewFile() = default;
    ~NewFile();

    NewFile(NewFile const&) = delete;
    NewFile& operator=(NewFile const&) = delete;

    // Begins the file that is to be `path`. Only a regular file there will be replaced.
    bool Begin(std::string const& path, Trouble& why);
    // Writes all the bytes. Only after Begin.
    bool Write(unsigned char const* bytes, std::size_t count, Trouble& why);
    // Ends the file and puts it in its place.
    bool Complete(Trouble& why);

private:
    std::string path_;
    std::string temporaryPath_; // empty: there is none
    FileDescriptor file_;
};

} // namespace workstation

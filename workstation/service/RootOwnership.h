// The claim of one service on the recorder's directory.
#pragma once

#include <optional>
#include <string>

#include "FileDescriptor.h"

namespace workstation {

// Held for as long as the object lives; the kernel gives it up when the process ends in any way.
class RootOwnership {
public:
    // Nothing, with the reason in `error`, when the directory is missing or another process owns
    // it.
    static std::optional<RootOwnership> Take(std::string const& root, std::string& error);

private:
    explicit RootOwnership(FileDescriptor directory)
        : directory_(std::move(directory)) {}

    FileDescriptor directory_;
};

} // namespace workstation

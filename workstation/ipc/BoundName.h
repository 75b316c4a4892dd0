// A name in the IPC directory that this process has taken.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "FileDescriptor.h"
#include "ipc/SocketDirectory.h"

namespace workstation::ipc {

// Owner of the file that binding a socket makes: removes it when destroyed. exit() removes it as
// well, for an interrupted program never destroys what lies on its stack. In a forked child neither
// does anything: the name is the parent's.
//
// Must be destroyed before the socket is closed: as long as the socket lives nobody else takes the
// name.
class BoundName {
public:
    // Binds `socket` to a name that is free, or whose process is gone. Nothing on failure, with the
    // reason in `error`. `directory` must outlive the object.
    static std::optional<BoundName> Bind(FileDescriptor const& socket,
                                         SocketDirectory const& directory, std::string const& name,
                                         std::string& error);
    ~BoundName();

    BoundName(BoundName&& other) noexcept
        : entry_(std::exchange(other.entry_, nullptr)) {}
    BoundName& operator=(BoundName&&) = delete;

    char const* Get() const;

private:
    struct Entry;
    class Register;

    explicit BoundName(Entry* entry)
        : entry_(entry) {}

    Entry* entry_;
};

} // namespace workstation::ipc

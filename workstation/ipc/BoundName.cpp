// A name in the IPC directory that this process has taken.
#include "ipc/BoundName.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace workstation::ipc {

struct BoundName::Entry {
    enum State { Free, Reserved, Bound };

    std::atomic<int> state = Free;
    pid_t process;
    int directory;
    std::array<char, maxEndpointNameLength + 1> name;

    bool Change(State from, State to) {
        int expected = from;
        return state.compare_exchange_strong(expected, to);
    }

    // Called at exit() too, which a signal handler may call at any point: no lock, no allocation.
    void Remove() {
        if (state == Bound && process == getpid() && Change(Bound, Reserved)) {
            unlinkat(directory, name.data(), 0);
        }
    }
};

// All names that this process has bound. Lies in static storage, without a destructor.
class BoundName::Register {
public:
    static Entry* Reserve() {
        static bool const removedAtExit = std::atexit(RemoveAll) == 0;
        static_cast<void>(removedAtExit);
        auto const entry = std::ranges::find_if(entries_, [](Entry& candidate) {
            return candidate.Change(Entry::Free, Entry::Reserved);
        });
        return entry != entries_.end() ? &*entry : nullptr;
    }

private:
    static void RemoveAll() {
        for (Entry& entry : entries_) {
            entry.Remove();
        }
    }

    static std::array<Entry, 256> entries_;
};

constinit std::array<BoundName::Entry, 256> BoundName::Register::entries_{};

std::optional<BoundName> BoundName::Bind(FileDescriptor const& socket,
                                         SocketDirectory const& directory, std::string const& name,
                                         std::string& error) {
    Entry* const entry = Register::Reserve();
    if (entry == nullptr) {
        error = "this process has too many endpoints";
        return std::nullopt;
    }
    BoundName owner(entry);
    entry->process = getpid();
    entry->directory = directory.Descriptor();
    *std::ranges::copy(name, entry->name.begin()).out = '\0';

    DirectoryLock const lock(directory);
    if (!lock) {
        error = "the IPC directory stays locked by another process";
        return std::nullopt;
    }
    directory.RemoveIfStale(name);
    sockaddr_un const address = directory.Address(name);
    if (bind(socket.Get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
        error = "cannot take the name " + name + ": " + std::strerror(errno);
        return std::nullopt;
    }
    entry->state = Entry::Bound;
    return owner;
}

char const* BoundName::Get() const {
    return entry_->name.data();
}

BoundName::~BoundName() {
    if (entry_ != nullptr) {
        entry_->Remove();
        entry_->state = Entry::Free;
    }
}

} // namespace workstation::ipc

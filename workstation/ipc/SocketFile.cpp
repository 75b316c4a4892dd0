// The socket file of an endpoint.
#include "ipc/SocketFile.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>

#include "Failure.h"
#include "ipc/StaleSockets.h"

namespace workstation::ipc {

struct SocketFile::Entry {
    enum State { Free, Reserved, Bound };

    std::atomic<int> state = Free;
    pid_t process;
    int directory;
    std::array<char, maxEndpointNameLength + 1> name;

    bool Change(State from, State to) {
        int expected = from;
        return state.compare_exchange_strong(expected, to);
    }

    // Called by exit() too, possibly from a signal handler at any point: takes no lock and
    // allocates nothing.
    void Remove() {
        if (state == Bound && process == getpid() && Change(Bound, Reserved)) {
            unlinkat(directory, name.data(), 0);
        }
    }
};

// The socket files of this process. In static storage and without a destructor, so that exit() can
// use it at any time.
class SocketFile::Register {
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

constinit std::array<SocketFile::Entry, 256> SocketFile::Register::entries_{};

SocketFile SocketFile::Bind(FileDescriptor const& socket, SocketDirectory const& directory,
                            std::string const& name) {
    Entry* const entry = Register::Reserve();
    if (entry == nullptr) {
        throw Failure(EMFILE, "this process has too many endpoints");
    }
    SocketFile file(entry);
    entry->process = getpid();
    entry->directory = directory.Descriptor();
    *std::ranges::copy(name, entry->name.begin()).out = '\0';

    DirectoryLock const lock(directory);
    if (!lock) {
        throw Failure(EWOULDBLOCK, "the IPC directory stays locked by another process");
    }
    RemoveStaleSocket(directory, name);
    sockaddr_un const address = directory.Address(name);
    if (bind(socket.Get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
        throw SystemFailure("cannot take the name " + name);
    }
    entry->state = Entry::Bound;
    return file;
}

char const* SocketFile::Name() const {
    return entry_->name.data();
}

SocketFile::~SocketFile() {
    if (entry_ != nullptr) {
        entry_->Remove();
        entry_->state = Entry::Free;
    }
}

} // namespace workstation::ipc

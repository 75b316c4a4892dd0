// The calls that make bytes durable, watched by a test.
#include "support/SyncCalls.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <utility>

namespace workstation {
namespace {

SyncCalls* watching = nullptr;

// Whether the call is to fail; then errno is set.
bool Fails(char const* name) {
    int const error = watching == nullptr ? 0 : watching->ErrorOf(name);
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

} // namespace

SyncCalls::SyncCalls(std::string failing, int error)
    : failing_(std::move(failing))
    , error_(error) {
    watching = this;
}

SyncCalls::~SyncCalls() {
    watching = nullptr;
}

int SyncCalls::ErrorOf(char const* name) {
    names_.emplace_back(name);
    if (names_.size() == killAt_) {
        raise(SIGKILL);
    }
    return name == failing_ ? error_ : 0;
}

} // namespace workstation

using workstation::Fails;

// The linker leads the program's calls here (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier): the linker prescribes these names.
extern "C" {
int __real_fsync(int descriptor);
int __real_fdatasync(int descriptor);
int __real_msync(void* address, std::size_t size, int flags);

int __wrap_fsync(int descriptor) {
    return Fails("fsync") ? -1 : __real_fsync(descriptor);
}

int __wrap_fdatasync(int descriptor) {
    return Fails("fdatasync") ? -1 : __real_fdatasync(descriptor);
}

int __wrap_msync(void* address, std::size_t size, int flags) {
    return Fails("msync") ? -1 : __real_msync(address, size, flags);
}
} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

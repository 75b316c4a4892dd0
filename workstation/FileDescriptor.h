// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace workstation {

// The one owner of a descriptor; -1 stands for none. Closing leaves errno as it is, so that a
// failure can be reported after its descriptors are gone.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : descriptor_(descriptor) {}
    ~FileDescriptor() { Reset(); }

    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(other.Release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        Reset(other.Release());
        return *this;
    }

    explicit operator bool() const { return descriptor_ >= 0; }
    int Get() const { return descriptor_; }

    // Hands the descriptor over to the caller.
    int Release() { return std::exchange(descriptor_, -1); }

    // Closes the descriptor and owns another one.
    void Reset(int descriptor = -1) {
        int const former = std::exchange(descriptor_, descriptor);
        if (former >= 0) {
            int const error = errno;
            close(former);
            errno = error;
        }
    }

private:
    int descriptor_ = -1;
};

} // namespace workstation

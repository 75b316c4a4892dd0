// Where a recording gets its bytes from: a file, a device, a pipe, standard input.
#include "service/recording/Source.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "Deadline.h"
#include "Failure.h"

namespace workstation::service::recording {
namespace {

Failure FailureOf(int error) {
    return {error, std::strerror(error)};
}

// A duplicate, whose flags can be changed without changing those of standard input.
FileDescriptor OpenStandardInput() {
    return FileDescriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
}

FileDescriptor OpenPath(std::string const& path) {
    return FileDescriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

bool IsRegularFile(FileDescriptor const& descriptor) {
    struct stat status {};
    if (fstat(descriptor.Get(), &status) != 0) {
        throw FailureOf(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        throw FailureOf(EISDIR);
    }
    return S_ISREG(status.st_mode);
}

} // namespace

Source Source::Open(std::string const& name, StopEvent const& stop) {
    bool const isStandardInput = name == "-";
    FileDescriptor descriptor = isStandardInput ? OpenStandardInput() : OpenPath(name);
    if (!descriptor) {
        throw FailureOf(errno);
    }
    bool const isFile = IsRegularFile(descriptor);
    return {std::move(descriptor), isStandardInput || !isFile, stop};
}

Source::Result Source::Read(std::span<unsigned char> room, int timeoutMs) {
    Deadline const deadline(timeoutMs);
    while (true) {
        // First wait: reading a pipe that no process has opened for writing yet reports its end.
        std::array<pollfd, 2> watched{
            {{stop_.Descriptor(), POLLIN, 0}, {descriptor_.Get(), POLLIN, 0}}};
        int const ready = poll(watched.data(), watched.size(), deadline.RemainingMs());
        if (ready == -1 && errno != EINTR) {
            throw FailureOf(errno);
        }
        if (ready > 0 && watched[0].revents != 0) {
            return {Outcome::stopped};
        }
        if (ready > 0) {
            ssize_t const size = read(descriptor_.Get(), room.data(), room.size());
            if (size > 0) {
                return {Outcome::bytes, static_cast<std::size_t>(size)};
            }
            if (size == 0) {
                return {Outcome::end};
            }
            if (errno != EAGAIN && errno != EINTR) {
                throw FailureOf(errno);
            }
        }
        if (deadline.Passed()) {
            return {Outcome::timeout};
        }
    }
}

void Source::Rewind() {
    if (lseek(descriptor_.Get(), 0, SEEK_SET) != 0) {
        throw SystemFailure("lseek");
    }
}

} // namespace workstation::service::recording

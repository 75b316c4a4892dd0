// Where a recording gets its bytes from: a file, a device, a pipe, standard input.
#include "service/recording/Source.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "Deadline.h"

namespace workstation::service::recording {
namespace {

// A copy of its own of standard input, which others may use as well: its flags stay as they are.
FileDescriptor OpenStandardInput() {
    return FileDescriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
}

FileDescriptor OpenPath(std::string const& path) {
    return FileDescriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

// The type bits of what the descriptor stands for; none with errno on failure.
std::optional<mode_t> FileType(FileDescriptor const& descriptor) {
    struct stat status {};
    if (!descriptor || fstat(descriptor.Get(), &status) != 0) {
        return std::nullopt;
    }
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return std::nullopt;
    }
    return status.st_mode & S_IFMT;
}

// What a read that failed leaves to do: nothing was there after all, or there is an error.
bool IsToBeRepeated(int error) {
    return error == EAGAIN || error == EINTR;
}

} // namespace

std::optional<Source> Source::Open(std::string const& name, std::string& error) {
    bool const isStandardInput = name == "-";
    FileDescriptor descriptor = isStandardInput ? OpenStandardInput() : OpenPath(name);
    auto const type = FileType(descriptor);
    if (!type) {
        error = std::generic_category().message(errno);
        return std::nullopt;
    }
    return Source(std::move(descriptor), isStandardInput || *type != S_IFREG);
}

Source::Result Source::Read(std::span<unsigned char> room, StopEvent const& stop, int timeoutMs) {
    Deadline const deadline(timeoutMs);
    while (true) {
        // A pipe that nobody has opened for writing yet would read as ended: so first wait.
        std::array<pollfd, 2> watched{
            {{stop.Descriptor(), POLLIN, 0}, {descriptor_.Get(), POLLIN, 0}}};
        int const ready = poll(watched.data(), watched.size(), deadline.RemainingMs());
        if (ready == -1 && errno != EINTR) {
            return {Outcome::failed, 0, errno};
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
            if (!IsToBeRepeated(errno)) {
                return {Outcome::failed, 0, errno};
            }
        }
        if (deadline.Passed()) {
            return {Outcome::timeout};
        }
    }
}

void Source::Rewind() {
    if (lseek(descriptor_.Get(), 0, SEEK_SET) != 0) {
        throw std::system_error(errno, std::generic_category(), "lseek");
    }
}

} // namespace workstation::service::recording

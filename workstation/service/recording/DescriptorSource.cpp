// A source that is an open descriptor.
#include "service/recording/DescriptorSource.h"

#include <unistd.h>

#include <array>
#include <cerrno>

#include "Deadline.h"
#include "service/recording/SourceFailure.h"

namespace workstation::service::recording {

Source::Result DescriptorSource::Read(std::span<unsigned char> room, int timeoutMs) {
    Deadline const deadline(timeoutMs);
    while (true) {
        // First wait: reading a pipe that no process has opened for writing yet reports its end.
        std::array<pollfd, 2> watched{{{}, {descriptor_.Get(), POLLIN, 0}}};
        bool const isReady = stop_.Poll(watched, deadline.RemainingMs());
        if (isReady && watched[0].revents != 0) {
            return {Outcome::stopped};
        }
        if (isReady) {
            ssize_t const size = read(descriptor_.Get(), room.data(), room.size());
            if (size > 0) {
                return {Outcome::bytes, static_cast<std::size_t>(size)};
            }
            if (size == 0) {
                return {Outcome::end};
            }
            if (errno != EAGAIN && errno != EINTR) {
                throw FailureOfErrno();
            }
        }
        if (deadline.Passed()) {
            return {Outcome::timeout};
        }
    }
}

} // namespace workstation::service::recording

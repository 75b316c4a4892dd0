// A command that writes a transport stream to its standard output, as the source of a recording.
#include "service/recording/ExecSource.h"

#include <unistd.h>

#include <array>
#include <string_view>
#include <utility>

#include "Deadline.h"
#include "service/recording/SourceFailure.h"

namespace workstation::service::recording {

ExecSource::ExecSource(std::string command, StopEvent const& stop)
    : commandLine_(std::move(command))
    , stop_(stop)
    , words_(commandLine_) {}

void ExecSource::Begin() {
    command_.reset();
    words_.Clear();
    command_.emplace(commandLine_);
    hasErrors_ = true;
}

Source::Result ExecSource::Read(std::span<unsigned char> room, int timeoutMs) {
    Deadline const deadline(timeoutMs);
    while (true) {
        int const errors = hasErrors_ ? command_->Errors().Get() : -1;
        std::array<pollfd, 3> watched{
            {{}, {command_->Output().Get(), POLLIN, 0}, {errors, POLLIN, 0}}};
        bool const isReady = stop_.Poll(watched, deadline.RemainingMs());
        if (isReady && watched[0].revents != 0) {
            return {Outcome::stopped};
        }
        if (isReady && watched[2].revents != 0) {
            hasErrors_ = HearErrors() != 0;
        }
        if (isReady && watched[1].revents != 0) {
            ssize_t const size = read(command_->Output().Get(), room.data(), room.size());
            if (size > 0) {
                return {Outcome::bytes, static_cast<std::size_t>(size)};
            }
            if (size == 0) {
                FailWithStatus();
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

// Takes a piece of what the command printed on standard error. What read(2) returned.
ssize_t ExecSource::HearErrors() {
    std::array<char, 4096> text{};
    ssize_t const size = read(command_->Errors().Get(), text.data(), text.size());
    if (size > 0) {
        words_.Add({text.data(), static_cast<std::size_t>(size)});
    }
    return size;
}

void ExecSource::FailWithStatus() {
    int const status = command_->Finish();
    while (HearErrors() > 0) {
    }
    throw Failure(EPIPE, "it has ended with status " + std::to_string(status));
}

} // namespace workstation::service::recording

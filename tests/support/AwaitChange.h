// Waits for what another process or thread writes into a file.
#pragma once

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <system_error>

#include "FileDescriptor.h"

// Waits until the condition holds: it is checked now and whenever a file in the directory is made
// or written. False when the time ends first.
inline bool AwaitChange(std::filesystem::path const& directory, std::chrono::seconds patience,
                        std::function<bool()> const& condition) {
    using std::chrono::steady_clock;
    auto const deadline = steady_clock::now() + patience;
    workstation::FileDescriptor const changes(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (inotify_add_watch(changes.Get(), directory.c_str(), IN_MODIFY | IN_CREATE) < 0) {
        throw std::system_error(errno, std::generic_category(), "inotify");
    }
    while (!condition()) {
        auto const left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
        pollfd change{changes.Get(), POLLIN, 0};
        if (left.count() <= 0 || poll(&change, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        std::array<char, 4096> events{};
        static_cast<void>(!read(changes.Get(), events.data(), events.size()));
    }
    return true;
}

// A wait for files to change.
#pragma once

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>

#include "FileDescriptor.h"

// Waits until `condition` holds, and checks it again whenever a file in `directory` has been made
// or written. False when it does not hold in time.
template <typename Condition>
bool AwaitInDirectory(std::filesystem::path const& directory, std::chrono::milliseconds patience,
                      Condition const& condition) {
    auto const deadline = std::chrono::steady_clock::now() + patience;
    workstation::FileDescriptor const changes(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (inotify_add_watch(changes.Get(), directory.c_str(), IN_MODIFY | IN_CREATE) < 0) {
        throw std::system_error(errno, std::generic_category(), "inotify_add_watch");
    }
    while (!condition()) {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd change{changes.Get(), POLLIN, 0};
        if (left.count() <= 0 || poll(&change, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        std::array<char, 4096> events{};
        static_cast<void>(!read(changes.Get(), events.data(), events.size()));
    }
    return true;
}

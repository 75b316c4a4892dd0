// What a service sends to its service manager.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <utility>

#include "FileDescriptor.h"
#include "support/Event.h"

// In place of the service manager: what it is sent.
class NotifySocket {
public:
    explicit NotifySocket(std::string path)
        : path_(std::move(path))
        , socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(socket_.Get(), reinterpret_cast<sockaddr const*>(&address), sizeof address),
                  0);
    }

    std::string const& Path() const { return path_; }

    // The next notification, waited for; empty when there is none within the time.
    std::string Next(std::chrono::milliseconds time = std::chrono::milliseconds(patienceMs)) const {
        pollfd readable{socket_.Get(), POLLIN, 0};
        if (poll(&readable, 1, static_cast<int>(time.count())) != 1) {
            return "";
        }
        std::array<char, 4096> text{};
        ssize_t const size = recv(socket_.Get(), text.data(), text.size(), 0);
        return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

    // Passes over others.
    void Await(std::string const& wanted) const {
        std::string others;
        for (std::string text = Next(); text != wanted; text = Next()) {
            ASSERT_NE(text, "") << "no " << wanted << " after " << others;
            others += text + '\n';
        }
    }

private:
    std::string path_;
    workstation::FileDescriptor socket_;
};

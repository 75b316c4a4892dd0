// Datagrams with RTP headers, as a camera sends them.
#pragma once

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <iomanip>
#include <sstream>
#include <string>

#include "Child.h"
#include "FileDescriptor.h"

namespace e2e {

// Sends datagrams with RTP headers to a port of this machine.
class RtpSender {
public:
    RtpSender()
        : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in any{};
        any.sin_family = AF_INET;
        any.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        workstation::FileDescriptor const probe(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        socklen_t size = sizeof any;
        EXPECT_EQ(bind(probe.Get(), reinterpret_cast<sockaddr const*>(&any), size), 0);
        EXPECT_EQ(getsockname(probe.Get(), reinterpret_cast<sockaddr*>(&any), &size), 0);
        port_ = ntohs(any.sin_port);
        EXPECT_EQ(connect(socket_.Get(), reinterpret_cast<sockaddr const*>(&any), size), 0);
    }

    // That no other process used a moment ago.
    std::string Source() const { return "udp://127.0.0.1:" + std::to_string(port_); }

    // Waits until a process receives from the port: before that datagrams are lost.
    bool AwaitReceiver() const {
        return AwaitSocket([](std::string const&) { return true; });
    }

    // Waits until the receiver has read all that was sent.
    bool AwaitRead() const {
        return AwaitSocket([](std::string const& queues) { return queues.ends_with(":00000000"); });
    }

    void Send(int number, std::string const& payload) const {
        std::string datagram(12, '\0');
        datagram[0] = '\x80';
        datagram[2] = static_cast<char>(number >> 8);
        datagram[3] = static_cast<char>(number);
        datagram += payload;
        EXPECT_EQ(send(socket_.Get(), datagram.data(), datagram.size(), 0),
                  static_cast<ssize_t>(datagram.size()));
    }
    void SendNoise() const { EXPECT_EQ(send(socket_.Get(), "noise", 5, 0), 5); }

private:
    // Waits until the receiver's socket has such queues, "TX:RX".
    bool AwaitSocket(std::function<bool(std::string const& queues)> const& isWanted) const {
        std::ostringstream port; // of a socket that is not connected
        port << ':' << std::hex << std::uppercase << std::setw(4) << std::setfill('0') << port_;
        auto const deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            std::ifstream sockets("/proc/net/udp");
            for (std::string line; std::getline(sockets, line);) {
                std::istringstream words(line);
                std::string number, local, remote, state, queues;
                words >> number >> local >> remote >> state >> queues;
                if (local.ends_with(port.str()) && remote == "00000000:0000" && isWanted(queues)) {
                    return true;
                }
            }
            poll(nullptr, 0, 5); // a socket notifies no other process
        }
        return false;
    }

    workstation::FileDescriptor socket_;
    int port_ = 0;
};

} // namespace e2e

// Somebody who sends the service what no tool would.
#include "Intruder.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "BigEndian.h"

namespace e2e {
namespace {

sockaddr const* Pointer(sockaddr_un const& address) {
    return reinterpret_cast<sockaddr const*>(&address);
}

} // namespace

std::string Word(std::uint32_t value) {
    std::string word(4, '\0');
    workstation::PutBig32(reinterpret_cast<unsigned char*>(word.data()), value);
    return word;
}

std::string Header(std::uint32_t first, std::uint32_t id, std::uint32_t payloadSize) {
    return Word(first) + Word(id) + Word(1) + Word(payloadSize);
}

std::string Message(std::uint32_t id, std::string const& payload) {
    return Header(magic, id, static_cast<std::uint32_t>(payload.size())) + payload;
}

std::vector<std::string> Malformed(std::uint32_t id) {
    return {"x",
            std::string(15, '\0'),
            std::string(16, '\0'),
            Header(magic + 1, id, 0),
            Header(magic, id, 0).substr(0, 15),
            Header(magic, id, 5) + "quit",
            Header(magic, id, 4) + std::string("quit\0", 5),
            Header(magic, id, 0xFFFFFFFF),
            Header(magic, id, 0xFFFFFFF0) + "quit",
            Message(id, std::string(65537, 'q')),
            Noise(70000)};
}

Intruder::Intruder(Recorder const& recorder, std::string const& name)
    : directory_((recorder.Root() / "ipc/").string())
    , socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    if (!name.empty()) {
        auto const own = Address(name);
        EXPECT_EQ(bind(socket_.Get(), Pointer(own), sizeof own), 0);
    }
}

void Intruder::Send(std::string const& datagram, std::string const& to) const {
    auto const receiver = Address(to);
    ssize_t const sent = sendto(socket_.Get(), datagram.data(), datagram.size(), 0,
                                Pointer(receiver), sizeof receiver);
    EXPECT_EQ(sent, static_cast<ssize_t>(datagram.size())) << std::strerror(errno);
}

sockaddr_un Intruder::Address(std::string const& name) const {
    std::string const path = directory_ + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    EXPECT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

} // namespace e2e

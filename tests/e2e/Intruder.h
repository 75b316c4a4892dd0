// Somebody who sends the service what no tool would.
#pragma once

#include <sys/un.h>

#include <cstdint>
#include <string>
#include <vector>

#include "FileDescriptor.h"
#include "Recorder.h"

namespace e2e {

constexpr std::uint32_t magic = 0x4C4E5831;

// The wire form of a word, of what stands before a payload, and of a whole message.
std::string Word(std::uint32_t value);
std::string Header(std::uint32_t first, std::uint32_t id, std::uint32_t payloadSize);
std::string Message(std::uint32_t id, std::string const& payload);

// Datagrams that are no message, though some have the id of one.
std::vector<std::string> Malformed(std::uint32_t id);

// Sends messages, under a name of its own or without one, and never reads.
class Intruder {
public:
    Intruder(Recorder const& recorder, std::string const& name);

    // Waits for room in the queue.
    void Send(std::string const& datagram, std::string const& to = "StreamMgr") const;

private:
    sockaddr_un Address(std::string const& name) const;

    std::string directory_;
    workstation::FileDescriptor socket_;
};

} // namespace e2e

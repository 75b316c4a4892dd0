// A transport stream in UDP datagrams as the source of a recording.
#include "service/recording/UdpSource.h"

#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <utility>

#include "Deadline.h"
#include "service/recording/SourceFailure.h"

namespace workstation::service::recording {
namespace {

constexpr int batchSize = 32; // datagrams
constexpr std::size_t longestDatagram = 65536;

// Bytes. More than a second of a fast stream, as far as the system allows it.
constexpr int receiveBufferSize = 16 << 20;

// Datagrams are collected for so long: a wake-up for each of them costs more than all the rest.
constexpr std::chrono::milliseconds collectionTime(5);

using AddressInfo = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

AddressInfo AddressInfoOf(UdpAddress const& address) {
    bool const needsScope = address.isIpv6 && !address.interface.empty();
    std::string const host = address.host + (needsScope ? '%' + address.interface : "");
    addrinfo hints{};
    hints.ai_family = address.isIpv6 ? AF_INET6 : AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo* info = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(address.port).c_str(), &hints, &info) != 0) {
        throw FailureOfErrno(ENODEV); // the interface is missing: the address is in numbers
    }
    return {info, freeaddrinfo};
}

void SetOption(FileDescriptor const& socket, int level, int name, int value) {
    if (setsockopt(socket.Get(), level, name, &value, sizeof value) != 0) {
        throw FailureOfErrno();
    }
}

void EnlargeBuffer(FileDescriptor const& socket) {
    int const size = receiveBufferSize;
    if (setsockopt(socket.Get(), SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) != 0) {
        SetOption(socket, SOL_SOCKET, SO_RCVBUF, size); // at most what the system allows
    }
}

// Joins the multicast group. A router that has forgotten the membership learns of it again.
void Join(FileDescriptor const& socket, UdpAddress const& address, addrinfo const& info) {
    group_req group{};
    if (!address.interface.empty()) {
        group.gr_interface = if_nametoindex(address.interface.c_str());
        if (group.gr_interface == 0) {
            throw FailureOfErrno();
        }
    }
    std::memcpy(&group.gr_group, info.ai_addr, info.ai_addrlen);
    int const level = address.isIpv6 ? IPPROTO_IPV6 : IPPROTO_IP;
    setsockopt(socket.Get(), level, MCAST_LEAVE_GROUP, &group, sizeof group); // if it was joined
    if (setsockopt(socket.Get(), level, MCAST_JOIN_GROUP, &group, sizeof group) != 0) {
        throw FailureOfErrno();
    }
}

FileDescriptor OpenSocket(UdpAddress const& address, addrinfo const& info) {
    FileDescriptor opened(socket(info.ai_family, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!opened) {
        throw FailureOfErrno();
    }
    EnlargeBuffer(opened);
    if (address.isMulticast) {
        SetOption(opened, SOL_SOCKET, SO_REUSEADDR, 1); // several processes may hear a group
    }
    if (bind(opened.Get(), info.ai_addr, info.ai_addrlen) != 0) {
        throw FailureOfErrno();
    }
    return opened;
}

} // namespace

// Room for the datagrams of one system call.
struct UdpSource::Batch {
    std::array<std::array<unsigned char, longestDatagram>, batchSize> datagrams;
    std::array<iovec, batchSize> places;
    std::array<mmsghdr, batchSize> headers;

    Batch() {
        for (unsigned int i = 0; i < batchSize; ++i) {
            places[i] = {datagrams[i].data(), datagrams[i].size()};
            headers[i] = {};
            headers[i].msg_hdr.msg_iov = &places[i];
            headers[i].msg_hdr.msg_iovlen = 1;
        }
    }
};

UdpSource::UdpSource(UdpAddress address, StopEvent const& stop)
    : address_(std::move(address))
    , stop_(stop)
    , batch_(std::make_unique<Batch>()) {}

UdpSource::~UdpSource() = default;

void UdpSource::Begin() {
    AddressInfo const info = AddressInfoOf(address_);
    if (!socket_) {
        socket_ = OpenSocket(address_, *info);
    }
    if (address_.isMulticast) {
        Join(socket_, address_, *info);
    }
}

Source::Result UdpSource::Read(std::span<unsigned char> room, int timeoutMs) {
    Deadline const deadline(timeoutMs);
    std::uint64_t const droppedBefore = droppedBytes_;
    while (true) {
        std::array<pollfd, 2> watched{{{}, {socket_.Get(), POLLIN, 0}}};
        bool const isReady = stop_.Poll(watched, WaitMs(deadline.RemainingMs()));
        if (isReady && watched[0].revents != 0) {
            order_.Release(RtpOrder::Time::max(), ready_); // nothing is waited for any more
            return ready_.empty() ? Result{Outcome::stopped} : Deliver(room);
        }
        if (isReady && ready_.empty()) {
            if (!wasFull_) {
                stop_.WaitFor(collectionTime);
            }
            Receive();
        }
        order_.Release(RtpOrder::Time::clock::now(), ready_);
        if (!ready_.empty()) {
            return Deliver(room);
        }
        if (deadline.Passed() || droppedBytes_ != droppedBefore) {
            return {Outcome::timeout};
        }
    }
}

// Until the next packets are to be delivered, at most for the rest of the time.
int UdpSource::WaitMs(int timeoutMs) const {
    if (!ready_.empty()) {
        return 0;
    }
    auto const due = order_.Due();
    if (!due) {
        return timeoutMs;
    }
    auto const left =
        std::chrono::ceil<std::chrono::milliseconds>(*due - RtpOrder::Time::clock::now());
    return SoonerMs(timeoutMs, std::max(static_cast<int>(left.count()), 0));
}

void UdpSource::Receive() {
    int const count = recvmmsg(socket_.Get(), batch_->headers.data(), batchSize, 0, nullptr);
    if (count == -1 && errno != EAGAIN && errno != EINTR) {
        auto const failure = FailureOfErrno();
        socket_.Reset(); // the next beginning opens another one
        throw failure;
    }
    wasFull_ = count == batchSize;
    for (int i = 0; i < count; ++i) {
        auto const index = static_cast<std::size_t>(i);
        Take(std::span(batch_->datagrams[index]).first(batch_->headers[index].msg_len));
    }
}

void UdpSource::Take(std::span<unsigned char const> bytes) {
    UdpDatagram const datagram = ParseUdpDatagram(bytes);
    if (datagram.packets.empty()) {
        droppedBytes_ += bytes.size();
    } else if (datagram.rtp) {
        order_.Add(*datagram.rtp, datagram.packets, RtpOrder::Time::clock::now(), ready_);
    } else {
        droppedBytes_ += bytes.size() - datagram.packets.size();
        ready_.insert(ready_.end(), datagram.packets.begin(), datagram.packets.end());
    }
}

Source::Result UdpSource::Deliver(std::span<unsigned char> room) {
    std::size_t const size = std::min(room.size(), ready_.size() - delivered_);
    std::copy_n(ready_.begin() + static_cast<std::ptrdiff_t>(delivered_), size, room.begin());
    delivered_ += size;
    if (delivered_ == ready_.size()) {
        ready_.clear();
        delivered_ = 0;
    }
    return {Outcome::bytes, size};
}

} // namespace workstation::service::recording

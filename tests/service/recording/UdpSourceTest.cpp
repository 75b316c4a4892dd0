// Datagrams are received from real sockets, and only whole packets are delivered.
#include "service/recording/UdpSource.h"

#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <memory>
#include <thread>

#include "service/recording/RtpDatagrams.h"
#include "support/FailureOf.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service::recording;

using Outcome = Source::Outcome;

constexpr int endless = -1;

// Sends to the address of a source, through the loopback interface.
class Sender {
public:
    explicit Sender(UdpAddress const& to) {
        addrinfo hints{};
        hints.ai_socktype = SOCK_DGRAM;
        hints.ai_flags = AI_NUMERICHOST;
        addrinfo* info = nullptr;
        std::string const scope = to.isIpv6 && to.isMulticast ? '%' + to.interface : "";
        EXPECT_EQ(
            getaddrinfo((to.host + scope).c_str(), std::to_string(to.port).c_str(), &hints, &info),
            0);
        socket_ = FileDescriptor(socket(info->ai_family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        if (to.isMulticast && !to.isIpv6) {
            ip_mreqn loopback{};
            loopback.imr_ifindex = static_cast<int>(if_nametoindex("lo"));
            EXPECT_EQ(
                setsockopt(socket_.Get(), IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback),
                0);
        }
        EXPECT_EQ(connect(socket_.Get(), info->ai_addr, info->ai_addrlen), 0);
        freeaddrinfo(info);
    }

    void Send(Bytes const& bytes) const {
        EXPECT_EQ(send(socket_.Get(), bytes.data(), bytes.size(), 0),
                  static_cast<ssize_t>(bytes.size()));
    }

private:
    FileDescriptor socket_;
};

// A port that no other process uses now.
std::uint16_t FreePort(int family) {
    FileDescriptor const probe(socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_storage address{};
    address.ss_family = static_cast<sa_family_t>(family);
    socklen_t size = family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    auto* const anyAddress = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(probe.Get(), anyAddress, size), 0);
    EXPECT_EQ(getsockname(probe.Get(), anyAddress, &size), 0);
    std::array<char, 8> port{};
    EXPECT_EQ(getnameinfo(anyAddress, size, nullptr, 0, port.data(), port.size(), NI_NUMERICSERV),
              0);
    return static_cast<std::uint16_t>(std::stoi(port.data()));
}

// Empty when there is none.
std::string Ipv6MulticastInterface() {
    constexpr unsigned int wanted = IFF_UP | IFF_MULTICAST;
    ifaddrs* all = nullptr;
    EXPECT_EQ(getifaddrs(&all), 0);
    std::string name;
    for (ifaddrs const* one = all; one != nullptr; one = one->ifa_next) {
        if (one->ifa_addr != nullptr && one->ifa_addr->sa_family == AF_INET6 &&
            (one->ifa_flags & wanted) == wanted) {
            name = one->ifa_name;
        }
    }
    freeifaddrs(all);
    return name;
}

UdpAddress Address(std::string const& host) {
    bool const isIpv6 = host.starts_with('[');
    auto const port = std::to_string(FreePort(isIpv6 ? AF_INET6 : AF_INET));
    return *ParseUdpAddress("udp://" + host + ":" + port);
}

class UdpSourceTest : public testing::Test {
protected:
    // Reads so many bytes.
    Bytes Read(UdpSource& source, std::size_t size, std::size_t roomSize = 200000) {
        Bytes bytes;
        Bytes room(roomSize);
        while (bytes.size() < size) {
            auto const result = source.Read(room, 60000);
            if (result.outcome != Outcome::bytes) {
                ADD_FAILURE() << "only " << bytes.size() << " bytes";
                break;
            }
            bytes.insert(bytes.end(), room.begin(),
                         room.begin() + static_cast<std::ptrdiff_t>(result.size));
        }
        return bytes;
    }
    void CheckReception(std::string const& host) {
        UdpAddress const address = Address(host);
        UdpSource source(address, stop_);
        source.Begin();
        Sender const sender(address);
        sender.Send(NumberedPackets(0, 7));
        EXPECT_EQ(Read(source, 7 * ts::tsPacketSize), NumberedPackets(0, 7));
        source.Begin();
        sender.Send(NumberedPackets(7, 7));
        EXPECT_EQ(Read(source, 7 * ts::tsPacketSize), NumberedPackets(7, 7));
    }

    StopEvent stop_;
};

// A source that has been begun, and who sends to it.
class LocalUdpSource : public UdpSourceTest {
protected:
    LocalUdpSource() { source_.Begin(); }

    UdpAddress const address_ = Address("127.0.0.1");
    UdpSource source_{address_, stop_};
    Sender const sender_{address_};
};

TEST_F(UdpSourceTest, ReceivesUnicast) {
    CheckReception("127.0.0.1");
}

TEST_F(UdpSourceTest, ReceivesUnicastOfIpv6) {
    CheckReception("[::1]");
}

TEST_F(UdpSourceTest, ReceivesMulticast) {
    CheckReception("239.255.77.1%lo");
}

// The address is one that does not leave the interface. That of the loopback has no way for it.
TEST_F(UdpSourceTest, ReceivesMulticastOfIpv6) {
    std::string const interface = Ipv6MulticastInterface();
    if (interface.empty()) {
        GTEST_SKIP() << "no interface for multicast of IPv6";
    }
    CheckReception("[ff01::7701%" + interface + "]");
}

// One more after the other, and one of the largest size; the room for them is small.
TEST_F(LocalUdpSource, DatagramsOfAllSizesAreTakenBitForBit) {
    std::uint32_t number = 0;
    for (std::uint32_t const count : {1U, 7U, 348U, 2U}) {
        sender_.Send(NumberedPackets(number, count));
        number += count;
    }
    EXPECT_EQ(Read(source_, number * ts::tsPacketSize, 1000), NumberedPackets(0, number));
    EXPECT_EQ(source_.DroppedBytes(), 0U);
}

TEST_F(LocalUdpSource, MoreDatagramsThanOneCallTakesAreReceived) {
    for (std::uint32_t number = 0; number < 80; ++number) {
        sender_.Send(NumberedPackets(number, 1));
    }
    EXPECT_EQ(Read(source_, 80 * ts::tsPacketSize), NumberedPackets(0, 80));
}

TEST_F(LocalUdpSource, NoiseIsDroppedAndCounted) {
    sender_.Send(Bytes(1000, 1));
    sender_.Send(Bytes());
    Bytes withRest = NumberedPackets(0, 2);
    withRest.resize(withRest.size() + 10);
    sender_.Send(withRest);
    EXPECT_EQ(Read(source_, 2 * ts::tsPacketSize), NumberedPackets(0, 2));
    EXPECT_EQ(source_.DroppedBytes(), 1010U);
}

// The status shows what was dropped, also while nothing else comes.
TEST_F(LocalUdpSource, NoiseAloneIsCountedAtOnce) {
    sender_.Send(Bytes(1000, 1));
    std::array<unsigned char, ts::tsPacketSize> room{};
    EXPECT_EQ(source_.Read(room, -1).outcome, Source::Outcome::timeout);
    EXPECT_EQ(source_.DroppedBytes(), 1000U);
}

// Numbers 0 to 9: 3 comes late, 5 twice, and 7 not at all.
TEST_F(LocalUdpSource, DatagramsOfRtpAreDeliveredInOrderAndOnce) {
    for (unsigned int const number : {0U, 1U, 2U, 4U, 5U, 5U, 3U, 6U, 8U, 9U}) {
        sender_.Send(RtpDatagram(static_cast<std::uint16_t>(number), NumberedPackets(number, 1)));
    }
    Bytes expected = NumberedPackets(0, 7);
    Bytes const rest = NumberedPackets(8, 2);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(Read(source_, expected.size()), expected);
    EXPECT_EQ(source_.DroppedBytes(), 0U);
}

TEST_F(LocalUdpSource, WhatComesWhileItIsBegunAgainIsKept) {
    sender_.Send(NumberedPackets(0, 7));
    source_.Begin();
    EXPECT_EQ(Read(source_, 7 * ts::tsPacketSize), NumberedPackets(0, 7));
}

TEST_F(UdpSourceTest, WaitsUntilTheTimeoutAndTheStop) {
    UdpSource source(Address("127.0.0.1"), stop_);
    source.Begin();
    Bytes room(1000);
    EXPECT_EQ(source.Read(room, 0).outcome, Outcome::timeout);
    Outcome outcome{};
    std::thread reader([&] { outcome = source.Read(room, endless).outcome; });
    stop_.Set();
    reader.join();
    EXPECT_EQ(outcome, Outcome::stopped);
}

TEST_F(UdpSourceTest, WhatCannotBeOpenedSaysWhy) {
    UdpAddress const address = Address("127.0.0.1");
    UdpSource first(address, stop_);
    first.Begin();
    EXPECT_EQ(FailureOf([&] { UdpSource(address, stop_).Begin(); }), "Address already in use");
    for (char const* const host : {"239.255.77.1%no-such-if", "[ff02::1%no-such-if]"}) {
        EXPECT_EQ(FailureOf([&] { UdpSource(Address(host), stop_).Begin(); }), "No such device");
    }
}

TEST_F(UdpSourceTest, GroupMayBeHeardTwice) {
    UdpAddress const address = Address("239.255.77.1%lo");
    UdpSource first(address, stop_);
    UdpSource second(address, stop_);
    first.Begin();
    second.Begin();
    Sender(address).Send(NumberedPackets(0, 7));
    EXPECT_EQ(Read(first, 7 * ts::tsPacketSize), NumberedPackets(0, 7));
    EXPECT_EQ(Read(second, 7 * ts::tsPacketSize), NumberedPackets(0, 7));
}

// The packets that wait for their turn, and those for which there was no room yet.
TEST_F(LocalUdpSource, WhatWasReceivedIsDeliveredThoughItIsToStop) {
    for (unsigned int const number : {0U, 1U, 3U}) {
        sender_.Send(RtpDatagram(static_cast<std::uint16_t>(number), NumberedPackets(number, 1)));
    }
    Bytes room(ts::tsPacketSize);
    EXPECT_EQ(source_.Read(room, endless).size, ts::tsPacketSize);
    EXPECT_EQ(room, NumberedPackets(0, 1));
    stop_.Set();
    EXPECT_EQ(source_.Read(room, endless).size, ts::tsPacketSize);
    EXPECT_EQ(room, NumberedPackets(1, 1));
    EXPECT_EQ(source_.Read(room, endless).size, ts::tsPacketSize);
    EXPECT_EQ(room, NumberedPackets(3, 1));
    EXPECT_EQ(source_.Read(room, endless).outcome, Outcome::stopped);
}

} // namespace

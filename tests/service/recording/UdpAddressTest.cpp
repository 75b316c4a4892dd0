// What is an address of a UDP source, and what is not.
#include "service/recording/UdpAddress.h"

#include <gtest/gtest.h>

namespace {

using namespace workstation::service::recording;

TEST(UdpAddress, IsAnAddressInNumbersAndAPort) {
    EXPECT_EQ(ParseUdpAddress("udp://127.0.0.1:5000"),
              (UdpAddress{"127.0.0.1", "", 5000, false, false}));
    EXPECT_EQ(ParseUdpAddress("udp://0.0.0.0:1"), (UdpAddress{"0.0.0.0", "", 1, false, false}));
    EXPECT_EQ(ParseUdpAddress("udp://[::]:65535"), (UdpAddress{"::", "", 65535, true, false}));
    EXPECT_EQ(ParseUdpAddress("udp://[fe80::1%eth0]:5000"),
              (UdpAddress{"fe80::1", "eth0", 5000, true, false}));
}

TEST(UdpAddress, KnowsMulticast) {
    EXPECT_FALSE(ParseUdpAddress("udp://223.255.255.255:5000")->isMulticast);
    EXPECT_TRUE(ParseUdpAddress("udp://224.0.0.1:5000")->isMulticast);
    EXPECT_FALSE(ParseUdpAddress("udp://240.0.0.1:5000")->isMulticast);
    EXPECT_EQ(ParseUdpAddress("udp://239.1.2.3%eth1:5000"),
              (UdpAddress{"239.1.2.3", "eth1", 5000, false, true}));
    EXPECT_EQ(ParseUdpAddress("udp://[ff02::1%lo]:5000"),
              (UdpAddress{"ff02::1", "lo", 5000, true, true}));
}

TEST(UdpAddress, IsNothingElse) {
    for (char const* const text :
         {"", "udp://", "udp://127.0.0.1", "udp://127.0.0.1:", "udp://127.0.0.1:0",
          "udp://127.0.0.1:65536", "udp://127.0.0.1:5x", "udp://127.0.0.1:-1", "udp://:5000",
          "udp://camera:5000", "udp://127.0.0:5000", "udp://::1:5000", "udp://[::1]",
          "udp://[127.0.0.1]:5000", "udp://127.0.0.1%:5000", "udp://@239.1.2.3:5000",
          "udp://127.0.0.1:5000/", "rtp://127.0.0.1:5000", "127.0.0.1:5000"}) {
        EXPECT_FALSE(ParseUdpAddress(text)) << text;
    }
}

} // namespace

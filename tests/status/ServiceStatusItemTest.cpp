// The status of the service in a message.
#include "status/ServiceStatusItem.h"

#include <gtest/gtest.h>

#include <limits>

#include "ipc/Payload.h"

namespace workstation::status {
namespace {

using namespace std::string_literals;
using State = StreamStatus::State;

// Every field has a value of its own, and the words of each wide number differ.
ServiceStatus Full() {
    ServiceStatus status;
    status.process = 0x01020304;
    status.upSeconds = 5;
    status.streams = {
        {2, "exec:cat", true, State::waiting, 0x6A, 0x700000008, 9, 0xA0000000B, 12, "no disk"},
        {3, "", false, State::ended, {}, 0, 0, 0, {}, ""}};
    status.storage = {0x1000000002, 0x3000000004, 0x5000000006};
    status.subscribers = 7;
    status.problem = "!";
    return status;
}

std::vector<char> Encoded(ServiceStatus const& status) {
    ServiceStatusItem item(status);
    return ipc::EncodeItems({&item});
}

bool IsDecoded(std::vector<char> payload) {
    ServiceStatusItem item;
    return ipc::DecodeItems(payload, {&item});
}

TEST(ServiceStatusItem, HasTheEncodingThatTheClientReads) {
    std::string const expected = "\1\2\3\4"
                                 "\0\0\0\5"
                                 "\0\0\0\2"
                                 "\0\0\0\2" // the first stream
                                 "\0\0\0\x8"
                                 "exec:cat"
                                 "\1"
                                 "\0\0\0\1"
                                 "\0\0\0\x6A"
                                 "\0\0\0\7\0\0\0\x8"
                                 "\0\0\0\x9"
                                 "\0\0\0\xA\0\0\0\xB"
                                 "\0\0\0\xC"
                                 "\0\0\0\7no disk"
                                 "\0\0\0\3" // the second
                                 "\0\0\0\0"
                                 "\0"
                                 "\0\0\0\2"
                                 "\0\0\0\0"
                                 "\0\0\0\0\0\0\0\0"
                                 "\0\0\0\0"
                                 "\0\0\0\0\0\0\0\0"
                                 "\0\0\0\0"
                                 "\0\0\0\0"
                                 "\0\0\0\x10\0\0\0\2" // the storage
                                 "\0\0\0\x30\0\0\0\4"
                                 "\0\0\0\x50\0\0\0\6"
                                 "\0\0\0\7"
                                 "\0\0\0\1!"s;
    auto const payload = Encoded(Full());
    EXPECT_EQ(std::string(payload.begin(), payload.end()), expected);
}

TEST(ServiceStatusItem, ReturnsAsItWas) {
    ServiceStatus largest = Full();
    largest.streams[0].bitsPerSecond = std::numeric_limits<std::uint64_t>::max();
    largest.streams[0].lastPacket = std::numeric_limits<std::uint32_t>::max();
    for (ServiceStatus const& status : {Full(), largest, ServiceStatus()}) {
        auto payload = Encoded(status);
        ServiceStatusItem item;
        EXPECT_TRUE(ipc::DecodeItems(payload, {&item}));
        EXPECT_EQ(item.Value(), status);
    }
}

TEST(ServiceStatusItem, IsMalformedWhenItIsTooShortOrTooLong) {
    auto payload = Encoded(Full());
    for (std::size_t size = 0; size < payload.size(); ++size) {
        EXPECT_FALSE(IsDecoded({payload.begin(), payload.begin() + static_cast<long>(size)}))
            << size;
    }
    payload.push_back('\0');
    EXPECT_FALSE(IsDecoded(payload));
}

TEST(ServiceStatusItem, IsMalformedWithMoreStreamsThanItHas) {
    constexpr std::size_t countAt = 8;
    for (char const upper : {'\0', '\x7F', '\xFF'}) {
        auto payload = Encoded(Full());
        payload[countAt] = upper;
        payload[countAt + 3] = '\x7F';
        EXPECT_FALSE(IsDecoded(payload));
    }
}

TEST(ServiceStatusItem, IsMalformedWithAnUnknownState) {
    auto payload = Encoded(Full());
    constexpr std::size_t stateAt = 12 + 4 + 4 + 8 + 1;
    ASSERT_EQ(payload[stateAt + 3], '\1');
    payload[stateAt + 3] = '\3';
    EXPECT_FALSE(IsDecoded(payload));
    payload[stateAt] = '\xFF';
    EXPECT_FALSE(IsDecoded(payload));
}

} // namespace
} // namespace workstation::status

// Cases for the message buffer.
#include "IpcMessage.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Payload(IpcMessage& message) {
    return {message.Data(), message.Size()};
}

} // namespace

TEST(IpcMessageTest, AllocatedPayloadIsZeroFilled) {
    IpcMessage message;
    ASSERT_EQ(message.Allocate(7, 3, nullptr), 0);
    EXPECT_EQ(message.Id(), 7U);
    EXPECT_EQ(Payload(message), std::string(3, '\0'));
}

TEST(IpcMessageTest, AllocatingAgainForgetsTheFormerPayload) {
    IpcMessage message;
    ASSERT_EQ(message.Allocate(7, 3, nullptr), 0);
    ASSERT_EQ(message.Fill("abc", 3), 0);
    ASSERT_EQ(message.Allocate(8, 4, nullptr), 0);
    EXPECT_EQ(message.Id(), 8U);
    EXPECT_EQ(Payload(message), std::string(4, '\0'));
}

TEST(IpcMessageTest, CallersBufferIsUsedAsItStands) {
    std::string buffer = "abcd";
    IpcMessage message;
    ASSERT_EQ(message.Allocate(7, 3, buffer.data()), 0);
    EXPECT_EQ(message.Data(), buffer.data());
    EXPECT_EQ(Payload(message), "abc");
    ASSERT_EQ(message.Fill("xy", 2), 0);
    EXPECT_EQ(buffer, "xycd");
}

TEST(IpcMessageTest, LargestSizeIsProvidedAndOneMoreIsRefused) {
    IpcMessage message;
    EXPECT_EQ(message.Allocate(1, IpcMessage::maxSize, nullptr), 0);
    EXPECT_EQ(message.Size(), 65536U);
    EXPECT_NE(message.Allocate(2, IpcMessage::maxSize + 1, nullptr), 0);
    EXPECT_NE(message.Allocate(2, 0xFFFFFFFF, nullptr), 0);
}

TEST(IpcMessageTest, EmptyPayloadHasNoData) {
    char buffer = 'x';
    IpcMessage message;
    EXPECT_EQ(message.Allocate(1, 0, &buffer), 0);
    EXPECT_EQ(message.Data(), nullptr);
    EXPECT_EQ(message.Fill("", 0), 0);
    EXPECT_NE(message.Fill("a", 1), 0);
}

TEST(IpcMessageTest, FillingBeyondThePayloadIsRefusedAndChangesNothing) {
    IpcMessage message;
    EXPECT_NE(message.Fill("a", 1), 0);
    ASSERT_EQ(message.Allocate(1, 2, nullptr), 0);
    EXPECT_NE(message.Fill("abc", 3), 0);
    EXPECT_EQ(Payload(message), std::string(2, '\0'));
    EXPECT_EQ(message.Fill("ab", 2), 0);
    EXPECT_EQ(Payload(message), "ab");
}

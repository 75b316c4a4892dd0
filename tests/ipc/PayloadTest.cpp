// Cases for items as the payload of a message.
#include "ipc/Payload.h"

#include <gtest/gtest.h>

#include "IpcMessage.h"
#include "Item.h"
#include "ipc/ExactBytes.h"

using namespace workstation::ipc;

TEST(PayloadTest, ItemsAreEncodedBackToBack) {
    UIntItem number(1);
    BoolItem flag(true);
    StringItem text("z");
    EXPECT_EQ(EncodeItems({&number, &flag, &text}),
              (std::vector<char>{0, 0, 0, 1, 1, 0, 0, 0, 1, 'z'}));
    EXPECT_TRUE(EncodeItems({}).empty());
}

TEST(PayloadTest, OnlyTheExactPayloadIsAccepted) {
    struct {
        char const* what;
        std::string payload;
        bool good;
    } const cases[] = {
        {"exact", Text("\x01\0\0\0\x01z", 6), true},
        {"empty", "", false},
        {"no string", "\x01", false},
        {"no text", Text("\x01\0\0\0\x01", 5), false},
        {"length without its text and nothing else", Text("\x01\0\0\0\x64", 5), false},
        {"byte too many", Text("\x01\0\0\0\x01zz", 7), false},
        {"length too large", Text("\x01\0\0\0\x02z", 6), false},
        {"length too small", Text("\x01\0\0\0\0z", 6), false},
        {"bool that is neither 0 nor 1", Text("\x02\0\0\0\x01z", 6), false},
    };
    for (auto const& each : cases) {
        ExactBytes payload(each.payload);
        BoolItem flag;
        StringItem text;
        EXPECT_EQ(DecodeItems({payload.Text(), payload.Size()}, {&flag, &text}), each.good)
            << each.what;
        if (each.good) {
            EXPECT_TRUE(flag.Value());
            EXPECT_EQ(text.Value(), "z");
        }
    }
}

TEST(PayloadTest, MessageIsPackedAndUnpacked) {
    UIntItem out(77);
    IpcMessage message;
    ASSERT_TRUE(PackMessage(message, 0x1234, {&out}));
    EXPECT_EQ(message.Id(), 0x1234U);
    EXPECT_EQ(std::string(message.Data(), message.Size()), Text("\0\0\0M", 4));
    UIntItem in;
    EXPECT_TRUE(UnpackMessage(message, {&in}));
    EXPECT_EQ(in.Value(), 77U);
}

TEST(PayloadTest, ItemsLargerThanAMessageAreRefused) {
    IpcMessage message;
    StringItem largest(std::string(IpcMessage::maxSize - 4, 'x'));
    EXPECT_TRUE(PackMessage(message, 1, {&largest}));
    StringItem larger(std::string(IpcMessage::maxSize - 3, 'x'));
    EXPECT_FALSE(PackMessage(message, 1, {&larger}));
}

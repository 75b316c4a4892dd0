// What the tool relies on in messages and the items in them.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

#include "IpcMessage.h"
#include "Item.h"
#include "StreamMgrApi.h"
#include "contract/Scene.h"

namespace {

using namespace std::string_literals;

class MessageContract : public testing::Test {
protected:
    static std::string Encoded(Item& item) {
        std::string bytes(item.Size(), '?');
        auto* const begin = reinterpret_cast<unsigned char*>(bytes.data());
        EXPECT_EQ(item.Encode(begin), begin + bytes.size());
        return bytes;
    }

    // Decodes from a message with these bytes; how many were taken.
    std::ptrdiff_t Decode(Item& item, std::string const& bytes) {
        unsigned char* const begin = scene_.Handle(bytes);
        return item.Decode(begin) - begin;
    }

    Scene scene_;
};

TEST_F(MessageContract, ItemsHaveTheEncodingThatTheServiceReads) {
    UIntItem number(0x01020384);
    IntItem negative(-2);
    BoolItem yes(true);
    BoolItem no(false);
    StringItem text("REID");
    StringItem empty;
    EXPECT_EQ(Encoded(number), "\x01\x02\x03\x84"s);
    EXPECT_EQ(Encoded(negative), "\xFF\xFF\xFF\xFE"s);
    EXPECT_EQ(Encoded(yes), "\x01"s);
    EXPECT_EQ(Encoded(no), "\0"s);
    EXPECT_EQ(Encoded(text), "\0\0\0\x04REID"s);
    EXPECT_EQ(Encoded(empty), "\0\0\0\0"s);
}

TEST_F(MessageContract, ItemsAreDecodedFromTheirEncoding) {
    UIntItem number;
    EXPECT_EQ(Decode(number, "\xFF\xFF\xFF\xFF"s), 4);
    EXPECT_EQ(number.Value(), UINT_MAX);
    IntItem negative;
    EXPECT_EQ(Decode(negative, "\x80\0\0\0"s), 4);
    EXPECT_EQ(negative.Value(), INT_MIN);
    BoolItem yes;
    EXPECT_EQ(Decode(yes, "\x02"s), 1);
    EXPECT_TRUE(yes.Value());
    StringItem text;
    EXPECT_EQ(Decode(text, "\0\0\0\x04REID and more"s), 8);
    EXPECT_EQ(text.Value(), "REID");
}

TEST_F(MessageContract, ItemsBeyondTheEndOfTheMessageAreZeroOrEmpty) {
    for (std::string const& bytes : {""s, "\x01"s, "\x01\x02\x03"s}) {
        UIntItem number(7);
        EXPECT_EQ(Decode(number, bytes), static_cast<std::ptrdiff_t>(bytes.size()));
        EXPECT_EQ(number.Value(), 0U);
        IntItem negative(-7);
        EXPECT_EQ(Decode(negative, bytes), static_cast<std::ptrdiff_t>(bytes.size()));
        EXPECT_EQ(negative.Value(), 0);
        StringItem text("old");
        EXPECT_EQ(Decode(text, bytes), static_cast<std::ptrdiff_t>(bytes.size()));
        EXPECT_EQ(text.Value(), "");
    }
    BoolItem yes(true);
    EXPECT_EQ(Decode(yes, ""), 0);
    EXPECT_FALSE(yes.Value());
}

TEST_F(MessageContract, StringThatLiesAboutItsLengthIsEmpty) {
    for (std::string const& length : {"\0\0\0\x05"s, "\x7F\xFF\xFF\xFF"s, "\xFF\xFF\xFF\xFF"s}) {
        StringItem text("old");
        EXPECT_EQ(Decode(text, length + "REID"), 8);
        EXPECT_EQ(text.Value(), "");
    }
}

TEST_F(MessageContract, NewItemsAreZeroOrEmpty) {
    UIntItem number;
    IntItem negative;
    BoolItem yes;
    StringItem text;
    EXPECT_EQ(Encoded(number), "\0\0\0\0"s);
    EXPECT_EQ(Encoded(negative), "\0\0\0\0"s);
    EXPECT_EQ(Encoded(yes), "\0"s);
    EXPECT_EQ(Encoded(text), "\0\0\0\0"s);
}

TEST_F(MessageContract, SizeIsThatOfTheEncoding) {
    EXPECT_EQ(UIntItem(UINT_MAX).Size(), 4U);
    EXPECT_EQ(IntItem(-1).Size(), 4U);
    EXPECT_EQ(BoolItem(true).Size(), 1U);
    EXPECT_EQ(StringItem().Size(), 4U);
    EXPECT_EQ(StringItem("with \0 in it"s).Size(), 16U);
    EXPECT_EQ(StreamMgrApi::EventRecordItem().Size(), 17U);
}

TEST_F(MessageContract, ItemsAreDecodedOneAfterTheOther) {
    unsigned char* const begin = scene_.Handle("\0\0\0\x05\0\0\0\x02id\x01"s);
    UIntItem number;
    StringItem text;
    BoolItem yes;
    EXPECT_EQ(yes.Decode(text.Decode(number.Decode(begin))), begin + 11);
    EXPECT_EQ(number.Value(), 5U);
    EXPECT_EQ(text.Value(), "id");
    EXPECT_TRUE(yes.Value());
}

TEST_F(MessageContract, EventRecordBeginsWithItsReid) {
    StreamMgrApi::EventRecordItem record;
    record.reid.Value("REID");
    record.tagsComplete.Value(true);
    record.startTime.Value(-1);
    record.stopTime.Value(2);
    record.streams.Value(3);
    std::string const bytes = "\0\0\0\x04REID\x01\xFF\xFF\xFF\xFF\0\0\0\x02\0\0\0\x03"s;
    EXPECT_EQ(Encoded(record), bytes);

    StreamMgrApi::EventRecordItem decoded;
    EXPECT_EQ(Decode(decoded, bytes + "rest"), 21);
    EXPECT_EQ(decoded.reid.Value(), "REID");
    EXPECT_TRUE(decoded.tagsComplete.Value());
    EXPECT_EQ(decoded.startTime.Value(), -1);
    EXPECT_EQ(decoded.stopTime.Value(), 2);
    EXPECT_EQ(decoded.streams.Value(), 3U);
}

TEST_F(MessageContract, EventRecordThatEndsTooEarlyIsZeroFromThere) {
    StreamMgrApi::EventRecordItem record;
    record.streams.Value(9);
    EXPECT_EQ(Decode(record, "\0\0\0\x04REID\x01\0\0"s), 11);
    EXPECT_EQ(record.reid.Value(), "REID");
    EXPECT_TRUE(record.tagsComplete.Value());
    EXPECT_EQ(record.startTime.Value(), 0);
    EXPECT_EQ(record.streams.Value(), 0U);
}

TEST_F(MessageContract, NewMessageIsEmpty) {
    IpcMessage message;
    EXPECT_EQ(message.Id(), 0U);
    EXPECT_EQ(message.Size(), 0U);
    EXPECT_EQ(message.Data(), nullptr);
}

TEST_F(MessageContract, MessageHoldsWhatItIsFilledWith) {
    IpcMessage message;
    ASSERT_EQ(message.Allocate(0x3603, 5, nullptr), 0);
    EXPECT_EQ(message.Id(), 0x3603U);
    ASSERT_EQ(message.Size(), 5U);
    EXPECT_EQ(std::string(message.Data(), 5), "\0\0\0\0\0"s);
    ASSERT_EQ(message.Fill("ping", 5), 0);
    EXPECT_EQ(std::string(message.Data(), 5), "ping\0"s);
}

TEST_F(MessageContract, MessageMayLieInABufferOfItsUser) {
    std::string buffer = "as it stands";
    IpcMessage message;
    ASSERT_EQ(message.Allocate(1, 12, buffer.data()), 0);
    EXPECT_EQ(message.Data(), buffer.data());
    ASSERT_EQ(message.Fill("AS", 2), 0);
    EXPECT_EQ(buffer, "AS it stands");
}

TEST_F(MessageContract, MessageThatIsAllocatedAgainHoldsNothingOfTheFormer) {
    IpcMessage message;
    ASSERT_EQ(message.Allocate(1, 4, nullptr), 0);
    ASSERT_EQ(message.Fill("text", 4), 0);
    ASSERT_EQ(message.Allocate(2, 3, nullptr), 0);
    EXPECT_EQ(message.Id(), 2U);
    ASSERT_EQ(message.Size(), 3U);
    EXPECT_EQ(std::string(message.Data(), 3), "\0\0\0"s);
    ASSERT_EQ(message.Allocate(3, 0, nullptr), 0);
    EXPECT_EQ(message.Size(), 0U);
    EXPECT_EQ(message.Data(), nullptr);
}

TEST_F(MessageContract, PayloadHasAnUpperLimit) {
    IpcMessage message;
    EXPECT_EQ(message.Allocate(1, 65536, nullptr), 0);
    EXPECT_NE(message.Allocate(1, 65537, nullptr), 0);
}

} // namespace

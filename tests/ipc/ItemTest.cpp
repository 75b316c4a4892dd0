// Cases for the items and their encodings.
#include "Item.h"

#include <gtest/gtest.h>

#include <climits>
#include <thread>

#include "ipc/DecodeRange.h"
#include "ipc/ExactBytes.h"
#include "ipc/Payload.h"

using namespace workstation::ipc;

namespace {

std::string Encoded(Item& item) {
    auto const bytes = EncodeItems({&item});
    return {bytes.begin(), bytes.end()};
}

} // namespace

TEST(ItemTest, NewItemsAreZeroAndEmpty) {
    EXPECT_EQ(UIntItem().Value(), 0U);
    EXPECT_EQ(IntItem().Value(), 0);
    EXPECT_FALSE(BoolItem().Value());
    EXPECT_EQ(StringItem().Value(), "");
}

TEST(ItemTest, ValuesAreTakenOver) {
    UIntItem number;
    number.Value(5);
    EXPECT_EQ(number.Value(), 5U);
    IntItem integer;
    integer.Value(-5);
    EXPECT_EQ(integer.Value(), -5);
    BoolItem flag;
    flag.Value(true);
    EXPECT_TRUE(flag.Value());
    StringItem text;
    text.Value("five");
    EXPECT_EQ(text.Value(), "five");
}

TEST(ItemTest, EncodingsHaveTheseBytes) {
    UIntItem number(0x01020304);
    EXPECT_EQ(Encoded(number), "\x01\x02\x03\x04");
    IntItem integer(-2);
    EXPECT_EQ(Encoded(integer), "\xFF\xFF\xFF\xFE");
    BoolItem no(false);
    EXPECT_EQ(Encoded(no), Text("\0", 1));
    BoolItem yes(true);
    EXPECT_EQ(Encoded(yes), "\x01");
    StringItem text("ab");
    EXPECT_EQ(Encoded(text), Text("\0\0\0\x02"
                                  "ab",
                                  6));
    StringItem empty;
    EXPECT_EQ(Encoded(empty), Text("\0\0\0\0", 4));
}

TEST(ItemTest, BoundaryValuesComeBack) {
    for (unsigned int const value : {0U, 1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        UIntItem out(value);
        UIntItem in;
        auto payload = EncodeItems({&out});
        EXPECT_TRUE(DecodeItems(payload, {&in}));
        EXPECT_EQ(in.Value(), value);
    }
    for (int const value : {INT_MIN, -1, 0, 1, INT_MAX}) {
        IntItem out(value);
        IntItem in;
        auto payload = EncodeItems({&out});
        EXPECT_TRUE(DecodeItems(payload, {&in}));
        EXPECT_EQ(in.Value(), value);
    }
    for (std::string const& value : {std::string(), Text("a\0b", 3), std::string(65532, 'x')}) {
        StringItem out(value);
        StringItem in;
        auto payload = EncodeItems({&out});
        EXPECT_TRUE(DecodeItems(payload, {&in}));
        EXPECT_EQ(in.Value(), value);
    }
}

TEST(ItemTest, DecodeReturnsThePointerPastTheItem) {
    ExactBytes bytes(Text("\0\0\0\x05\0\0\0\x02hi\x01\xFF\xFF\xFF\xFF", 15));
    DecodeScope const scope(bytes.Text(), bytes.Size());
    UIntItem number;
    StringItem text;
    BoolItem flag;
    IntItem integer;
    unsigned char* in = number.Decode(bytes.Begin());
    EXPECT_EQ(in, bytes.Begin() + 4);
    in = text.Decode(in);
    EXPECT_EQ(in, bytes.Begin() + 10);
    in = flag.Decode(in);
    EXPECT_EQ(in, bytes.Begin() + 11);
    in = integer.Decode(in);
    EXPECT_EQ(in, bytes.End());
    EXPECT_EQ(number.Value(), 5U);
    EXPECT_EQ(text.Value(), "hi");
    EXPECT_TRUE(flag.Value());
    EXPECT_EQ(integer.Value(), -1);
}

TEST(ItemTest, PayloadThatEndsTooEarlyGivesZeroOrEmptyAndItsEnd) {
    std::string const whole = Text("\0\0\0\x02hi", 6);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        ExactBytes bytes(whole.substr(0, size));
        DecodeScope const scope(bytes.Text(), bytes.Size());
        StringItem text("before");
        EXPECT_EQ(text.Decode(bytes.Begin()), bytes.End()) << size;
        EXPECT_EQ(text.Value(), "") << size;
        if (size < 4) {
            UIntItem number(9);
            EXPECT_EQ(number.Decode(bytes.Begin()), bytes.End()) << size;
            EXPECT_EQ(number.Value(), 0U) << size;
            IntItem integer(9);
            EXPECT_EQ(integer.Decode(bytes.Begin()), bytes.End()) << size;
            EXPECT_EQ(integer.Value(), 0) << size;
        }
    }
    ExactBytes nothing("");
    DecodeScope const scope(nothing.Text(), 0);
    BoolItem flag(true);
    EXPECT_EQ(flag.Decode(nothing.Begin()), nothing.End());
    EXPECT_FALSE(flag.Value());
}

TEST(ItemTest, LengthBeyondThePayloadGivesAnEmptyStringAndItsEnd) {
    for (char const* const length : {"\0\0\0\x03", "\0\0\x01\0", "\x7F\xFF\xFF\xFF", "\x80\0\0\0",
                                     "\xFF\xFF\xFF\xFC", "\xFF\xFF\xFF\xFF"}) {
        ExactBytes bytes(Text(length, 4) + "hi");
        DecodeScope const scope(bytes.Text(), bytes.Size());
        StringItem text("before");
        EXPECT_EQ(text.Decode(bytes.Begin()), bytes.End());
        EXPECT_EQ(text.Value(), "");
    }
}

TEST(ItemTest, PointerOutsideOfTheMessageIsNotRead) {
    ExactBytes message(Text("\0\0\0\x05", 4));
    ExactBytes other(Text("\0\0\0\x01x", 5));
    DecodeScope const scope(message.Text(), message.Size());
    for (unsigned char* const outside : {other.Begin(), other.End(), message.End() + 1}) {
        UIntItem number(9);
        EXPECT_EQ(number.Decode(outside), outside);
        EXPECT_EQ(number.Value(), 0U);
        StringItem text("before");
        EXPECT_EQ(text.Decode(outside), outside);
        EXPECT_EQ(text.Value(), "");
        BoolItem flag(true);
        EXPECT_EQ(flag.Decode(outside), outside);
        EXPECT_FALSE(flag.Value());
    }
}

TEST(ItemTest, WithoutAMessageNothingIsRead) {
    ExactBytes bytes(Text("\0\0\0\x05", 4));
    UIntItem number(9);
    EXPECT_EQ(number.Decode(bytes.Begin()), bytes.Begin());
    EXPECT_EQ(number.Value(), 0U);
    EXPECT_EQ(number.Decode(nullptr), nullptr);
}

TEST(ItemTest, InnerScopeEndsAndTheOuterHoldsAgain) {
    ExactBytes outer(Text("\0\0\0\x05", 4));
    ExactBytes inner(Text("\0\0\0\x06", 4));
    UIntItem number;
    DecodeScope const scope(outer.Text(), outer.Size());
    {
        DecodeScope const innerScope(inner.Text(), inner.Size());
        number.Decode(inner.Begin());
        EXPECT_EQ(number.Value(), 6U);
        number.Decode(outer.Begin());
        EXPECT_EQ(number.Value(), 0U);
    }
    number.Decode(inner.Begin());
    EXPECT_EQ(number.Value(), 0U);
    number.Decode(outer.Begin());
    EXPECT_EQ(number.Value(), 5U);
}

TEST(ItemTest, ScopeHoldsForItsOwnThreadOnly) {
    ExactBytes bytes(Text("\0\0\0\x05", 4));
    DecodeScope const scope(bytes.Text(), bytes.Size());
    UIntItem number(9);
    std::thread([&] { number.Decode(bytes.Begin()); }).join();
    EXPECT_EQ(number.Value(), 0U);
}

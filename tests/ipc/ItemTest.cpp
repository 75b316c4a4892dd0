// Cases for the items and their encodings.
#include "Item.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <thread>

#include "IpcMessage.h"
#include "ipc/DecodeScope.h"
#include "ipc/Payload.h"

using workstation::ipc::DecodeItems;
using workstation::ipc::DecodeScope;
using workstation::ipc::EncodeItems;

namespace {

std::string Encoded(Item& item) {
    auto const bytes = EncodeItems({&item});
    return {bytes.begin(), bytes.end()};
}

// Bytes on the heap with nothing around them, so that a read past their end is found.
class Exact {
public:
    explicit Exact(std::string const& bytes)
        : size_(bytes.size())
        , bytes_(new char[bytes.size()]) {
        std::memcpy(bytes_.get(), bytes.data(), bytes.size());
    }
    char* Text() { return bytes_.get(); }
    unsigned char* Begin() { return reinterpret_cast<unsigned char*>(bytes_.get()); }
    unsigned char* End() { return Begin() + size_; }
    std::size_t Size() const { return size_; }

private:
    std::size_t size_;
    std::unique_ptr<char[]> bytes_;
};

std::string Bytes(char const* text, std::size_t size) {
    return {text, size};
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
    EXPECT_EQ(Encoded(no), Bytes("\0", 1));
    BoolItem yes(true);
    EXPECT_EQ(Encoded(yes), "\x01");
    StringItem text("ab");
    EXPECT_EQ(Encoded(text), Bytes("\0\0\0\x02"
                                   "ab",
                                   6));
    StringItem empty;
    EXPECT_EQ(Encoded(empty), Bytes("\0\0\0\0", 4));
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
    for (std::string const& value : {std::string(), Bytes("a\0b", 3), std::string(65532, 'x')}) {
        StringItem out(value);
        StringItem in;
        auto payload = EncodeItems({&out});
        EXPECT_TRUE(DecodeItems(payload, {&in}));
        EXPECT_EQ(in.Value(), value);
    }
}

TEST(ItemTest, DecodeReturnsThePointerPastTheItem) {
    Exact bytes(Bytes("\0\0\0\x05\0\0\0\x02hi\x01\xFF\xFF\xFF\xFF", 15));
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
    std::string const whole = Bytes("\0\0\0\x02hi", 6);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        Exact bytes(whole.substr(0, size));
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
    Exact nothing("");
    DecodeScope const scope(nothing.Text(), 0);
    BoolItem flag(true);
    EXPECT_EQ(flag.Decode(nothing.Begin()), nothing.End());
    EXPECT_FALSE(flag.Value());
}

TEST(ItemTest, LengthBeyondThePayloadGivesAnEmptyStringAndItsEnd) {
    for (char const* const length : {"\0\0\0\x03", "\0\0\x01\0", "\x7F\xFF\xFF\xFF", "\x80\0\0\0",
                                     "\xFF\xFF\xFF\xFC", "\xFF\xFF\xFF\xFF"}) {
        Exact bytes(Bytes(length, 4) + "hi");
        DecodeScope const scope(bytes.Text(), bytes.Size());
        StringItem text("before");
        EXPECT_EQ(text.Decode(bytes.Begin()), bytes.End());
        EXPECT_EQ(text.Value(), "");
    }
}

TEST(ItemTest, PointerOutsideOfTheMessageIsNotRead) {
    Exact message(Bytes("\0\0\0\x05", 4));
    Exact other(Bytes("\0\0\0\x01x", 5));
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
    Exact bytes(Bytes("\0\0\0\x05", 4));
    UIntItem number(9);
    EXPECT_EQ(number.Decode(bytes.Begin()), bytes.Begin());
    EXPECT_EQ(number.Value(), 0U);
    EXPECT_EQ(number.Decode(nullptr), nullptr);
}

TEST(ItemTest, InnerScopeEndsAndTheOuterHoldsAgain) {
    Exact outer(Bytes("\0\0\0\x05", 4));
    Exact inner(Bytes("\0\0\0\x06", 4));
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
    Exact bytes(Bytes("\0\0\0\x05", 4));
    DecodeScope const scope(bytes.Text(), bytes.Size());
    UIntItem number(9);
    std::thread([&] { number.Decode(bytes.Begin()); }).join();
    EXPECT_EQ(number.Value(), 0U);
}

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
        {"exact", Bytes("\x01\0\0\0\x01z", 6), true},
        {"empty", "", false},
        {"no string", "\x01", false},
        {"no text", Bytes("\x01\0\0\0\x01", 5), false},
        {"length without its text and nothing else", Bytes("\x01\0\0\0\x64", 5), false},
        {"byte too many", Bytes("\x01\0\0\0\x01zz", 7), false},
        {"length too large", Bytes("\x01\0\0\0\x02z", 6), false},
        {"length too small", Bytes("\x01\0\0\0\0z", 6), false},
        {"bool that is neither 0 nor 1", Bytes("\x02\0\0\0\x01z", 6), false},
    };
    for (auto const& each : cases) {
        Exact payload(each.payload);
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
    ASSERT_TRUE(workstation::ipc::PackMessage(message, 0x1234, {&out}));
    EXPECT_EQ(message.Id(), 0x1234U);
    EXPECT_EQ(std::string(message.Data(), message.Size()), Bytes("\0\0\0M", 4));
    UIntItem in;
    EXPECT_TRUE(workstation::ipc::UnpackMessage(message, {&in}));
    EXPECT_EQ(in.Value(), 77U);
}

TEST(PayloadTest, ItemsLargerThanAMessageAreRefused) {
    IpcMessage message;
    StringItem largest(std::string(IpcMessage::maxSize - 4, 'x'));
    EXPECT_TRUE(workstation::ipc::PackMessage(message, 1, {&largest}));
    StringItem larger(std::string(IpcMessage::maxSize - 3, 'x'));
    EXPECT_FALSE(workstation::ipc::PackMessage(message, 1, {&larger}));
}

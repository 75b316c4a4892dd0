// The items' encodings.
#include "Item.h"

#include <algorithm>
#include <cstddef>

#include "FakePlatform.h"

namespace {

constexpr unsigned int wordSize = 4;

unsigned char* PutWord(unsigned char* out, unsigned int word) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        *out++ = static_cast<unsigned char>(word >> shift);
    }
    return out;
}

// How many bytes the message that is being handled has from `in` to its end.
std::size_t BytesLeft(unsigned char const* in) {
    FakePlatform& platform = FakePlatform::Get();
    if (in == nullptr && platform.message.empty()) { // an empty message has no address
        return 0;
    }
    auto const* const begin = reinterpret_cast<unsigned char const*>(platform.message.data());
    auto const* const end = begin + platform.message.size();
    if (in < begin || in > end) {
        platform.Breach("decoding from outside the message that is being handled");
        return 0;
    }
    return static_cast<std::size_t>(end - in);
}

// Reads a word and moves `in` past it. 0 when the message ends before; `in` is then its end.
unsigned int TakeWord(unsigned char*& in) {
    std::size_t const left = BytesLeft(in);
    if (left < wordSize) {
        in += left;
        return 0;
    }
    unsigned int word = 0;
    for (unsigned int i = 0; i < wordSize; ++i) {
        word = word << 8 | *in++;
    }
    return word;
}

} // namespace

unsigned char* UIntItem::Encode(unsigned char* out) {
    return PutWord(out, value_);
}

unsigned char* UIntItem::Decode(unsigned char* in) {
    value_ = TakeWord(in);
    return in;
}

unsigned int UIntItem::Size() {
    return wordSize;
}

unsigned char* IntItem::Encode(unsigned char* out) {
    return PutWord(out, static_cast<unsigned int>(value_));
}

unsigned char* IntItem::Decode(unsigned char* in) {
    value_ = static_cast<int>(TakeWord(in));
    return in;
}

unsigned int IntItem::Size() {
    return wordSize;
}

unsigned char* BoolItem::Encode(unsigned char* out) {
    *out = value_ ? 1 : 0;
    return out + 1;
}

unsigned char* BoolItem::Decode(unsigned char* in) {
    value_ = BytesLeft(in) > 0 && *in != 0;
    return BytesLeft(in) > 0 ? in + 1 : in;
}

unsigned int BoolItem::Size() {
    return 1;
}

unsigned char* StringItem::Encode(unsigned char* out) {
    out = PutWord(out, static_cast<unsigned int>(value_.size()));
    return std::copy(value_.begin(), value_.end(), out);
}

unsigned char* StringItem::Decode(unsigned char* in) {
    std::size_t const length = TakeWord(in);
    std::size_t const left = BytesLeft(in);
    if (length > left) {
        value_.clear();
        return in + left;
    }
    value_.assign(in, in + length);
    return in + length;
}

unsigned int StringItem::Size() {
    return wordSize + static_cast<unsigned int>(value_.size());
}

// Values in messages, and their encodings.
#include "Item.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "BigEndian.h"
#include "ipc/DecodeRange.h"

using workstation::GetBig32;
using workstation::PutBig32;
using workstation::ipc::CurrentDecodeRange;
using workstation::ipc::DecodeRange;

namespace {

constexpr unsigned int wordSize = 4;
constexpr unsigned int boolSize = 1;

// Reads fields of the message that is being handled, and nothing past its end.
class Reader {
public:
    explicit Reader(unsigned char* in)
        : position_(in)
        , left_(BytesFrom(in)) {}

    // The next `size` bytes. Null when the message has fewer; its rest is then skipped.
    unsigned char const* Take(std::size_t size) {
        bool const complete = size <= left_;
        std::size_t const step = complete ? size : left_;
        unsigned char const* const field = position_;
        position_ += step;
        left_ -= step;
        return complete ? field : nullptr;
    }

    std::uint32_t Word() {
        unsigned char const* const field = Take(wordSize);
        return field != nullptr ? GetBig32(field) : 0;
    }

    unsigned char* Position() const { return position_; }

private:
    static std::size_t BytesFrom(unsigned char const* in) {
        DecodeRange const& range = CurrentDecodeRange();
        return range.Contains(in) ? static_cast<std::size_t>(range.end - in) : 0;
    }

    unsigned char* position_;
    std::size_t left_;
};

} // namespace

unsigned char* UIntItem::Encode(unsigned char* out) {
    PutBig32(out, value_);
    return out + wordSize;
}

unsigned char* UIntItem::Decode(unsigned char* in) {
    Reader reader(in);
    value_ = reader.Word();
    return reader.Position();
}

unsigned int UIntItem::Size() {
    return wordSize;
}

unsigned char* IntItem::Encode(unsigned char* out) {
    PutBig32(out, static_cast<std::uint32_t>(value_));
    return out + wordSize;
}

unsigned char* IntItem::Decode(unsigned char* in) {
    Reader reader(in);
    value_ = static_cast<int>(reader.Word());
    return reader.Position();
}

unsigned int IntItem::Size() {
    return wordSize;
}

unsigned char* BoolItem::Encode(unsigned char* out) {
    *out = value_ ? 1 : 0;
    return out + boolSize;
}

unsigned char* BoolItem::Decode(unsigned char* in) {
    Reader reader(in);
    unsigned char const* const field = reader.Take(boolSize);
    value_ = field != nullptr && *field != 0;
    return reader.Position();
}

unsigned int BoolItem::Size() {
    return boolSize;
}

unsigned char* StringItem::Encode(unsigned char* out) {
    PutBig32(out, static_cast<std::uint32_t>(value_.size()));
    return std::copy(value_.begin(), value_.end(), out + wordSize);
}

unsigned char* StringItem::Decode(unsigned char* in) {
    Reader reader(in);
    std::size_t const length = reader.Word();
    unsigned char const* const text = reader.Take(length);
    value_.clear();
    if (text != nullptr) {
        value_.assign(text, text + length);
    }
    return reader.Position();
}

unsigned int StringItem::Size() {
    return wordSize + static_cast<unsigned int>(value_.size());
}

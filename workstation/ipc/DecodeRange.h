// The bytes that a thread may decode items from.
#pragma once

#include <cstddef>

namespace workstation::ipc {

// The payload of the message that a thread is handling. Item::Decode has no length parameter; this
// range keeps it inside the message.
struct DecodeRange {
    unsigned char const* begin = nullptr;
    unsigned char const* end = nullptr;

    static DecodeRange Of(char const* payload, std::size_t size);

    // True for the end of the range too.
    bool Contains(unsigned char const* position) const;
    bool operator==(DecodeRange const&) const = default;
};

// The range of the calling thread; empty at first.
DecodeRange& CurrentDecodeRange();

// Sets the thread's range to a payload of `size` bytes, and back to the former range when it is
// destroyed. Both payloads must outlive it.
class DecodeScope {
public:
    DecodeScope(char const* payload, std::size_t size);
    ~DecodeScope();

    DecodeScope(DecodeScope const&) = delete;
    DecodeScope& operator=(DecodeScope const&) = delete;

private:
    DecodeRange former_;
};

} // namespace workstation::ipc

// The bytes that items may be decoded from.
#pragma once

#include <cstddef>

namespace workstation::ipc {

// The payload of the message that a thread is handling. Item::Decode takes no length; this is what
// keeps it inside the message.
struct DecodeRange {
    unsigned char const* begin = nullptr;
    unsigned char const* end = nullptr;

    // The range of a message's payload.
    static DecodeRange Of(char const* payload, std::size_t size);

    bool Contains(unsigned char const* position) const;
    bool operator==(DecodeRange const&) const = default;
};

// The range of the calling thread; empty until somebody sets it.
DecodeRange& CurrentDecodeRange();

// Makes a payload of `size` bytes the thread's range for as long as the object lives, then the
// former range again. Both payloads must outlive it.
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

// The bytes that a thread may decode items from.
#include "ipc/DecodeRange.h"

#include <functional>

namespace workstation::ipc {

DecodeRange DecodeRange::Of(char const* payload, std::size_t size) {
    auto const* const begin = reinterpret_cast<unsigned char const*>(payload);
    return {begin, begin + size};
}

bool DecodeRange::Contains(unsigned char const* position) const {
    // std::less_equal also orders pointers into different objects.
    std::less_equal<> const notAfter;
    return notAfter(begin, position) && notAfter(position, end);
}

DecodeRange& CurrentDecodeRange() {
    thread_local DecodeRange range;
    return range;
}

DecodeScope::DecodeScope(char const* payload, std::size_t size)
    : former_(CurrentDecodeRange()) {
    CurrentDecodeRange() = DecodeRange::Of(payload, size);
}

DecodeScope::~DecodeScope() {
    CurrentDecodeRange() = former_;
}

} // namespace workstation::ipc

// The inputs of the targets that take messages.
#pragma once

#include <algorithm>
#include <span>
#include <vector>

namespace workstation {

struct FuzzedMessage {
    unsigned char kind;
    std::vector<char> payload;
};

// An input is messages back to back: a byte for the kind, two for the length, high one first, and
// the payload, which the end of the input may cut off.
inline std::vector<FuzzedMessage> MessagesIn(std::span<unsigned char const> input) {
    constexpr std::size_t headSize = 3;
    std::vector<FuzzedMessage> messages;
    while (input.size() >= headSize) {
        std::size_t const length =
            std::min<std::size_t>(input[1] * 256U + input[2], input.size() - headSize);
        auto const payload = input.subspan(headSize, length);
        messages.push_back({input[0], {payload.begin(), payload.end()}});
        input = input.subspan(headSize + length);
    }
    return messages;
}

} // namespace workstation

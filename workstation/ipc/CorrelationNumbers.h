// The numbers that connect requests with their answers.
#pragma once

#include <cstdint>

namespace workstation::ipc {

// The correlation numbers of one endpoint's requests, in ascending order. 0 is not among them: it
// belongs to messages that have no answer.
class CorrelationNumbers {
public:
    // `start` is the number before the first.
    explicit CorrelationNumbers(std::uint32_t start)
        : start_(start)
        , last_(start) {}

    std::uint32_t Next() {
        if (++last_ == 0) {
            ++last_;
        }
        return last_;
    }

    // Whether Next has returned `number`.
    bool WasGiven(std::uint32_t number) const {
        return number != 0 && number - start_ - 1 < last_ - start_;
    }

private:
    std::uint32_t start_;
    std::uint32_t last_;
};

} // namespace workstation::ipc

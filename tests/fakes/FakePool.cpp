// The pool of stream files as a test sets it up.
#include "FakePool.h"

#include <algorithm>
#include <array>

namespace {

constexpr long period = 251; // a prime, and all its bytes are different

std::array<unsigned char, 16 * period> MakePattern() {
    std::array<unsigned char, 16 * period> pattern{};
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        pattern[i] = static_cast<unsigned char>(i % period);
    }
    return pattern;
}

} // namespace

void FillWithContent(unsigned char* out, int fileNumber, long offset, long count) {
    static std::array<unsigned char, 16 * period> const pattern = MakePattern();
    while (count > 0) {
        long const start = (offset + fileNumber) % period;
        long const part = std::min(count, static_cast<long>(pattern.size()) - start);
        out = std::copy_n(pattern.begin() + start, part, out);
        offset += part;
        count -= part;
    }
}

std::string StreamFileContent(int fileNumber, long offset, long count) {
    std::string content(static_cast<std::size_t>(count), '\0');
    FillWithContent(reinterpret_cast<unsigned char*>(content.data()), fileNumber, offset, count);
    return content;
}

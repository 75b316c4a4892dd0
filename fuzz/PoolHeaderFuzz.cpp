// Reads arbitrary header pages of a pool image.
#include <algorithm>

#include "Failure.h"
#include "Require.h"
#include "pool/PoolLayout.h"

using namespace workstation;

namespace {

constexpr std::size_t fieldsSize = 40; // what follows is reserved

} // namespace

// The first byte decides what the others replace: the whole header, or parts of a valid one.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    pool::PoolHeaderPage page{};
    std::size_t begin = 0;
    if (data[0] >= 0x40) {
        page = pool::EncodePoolHeader(data[0]);
        begin = data[0] % fieldsSize;
    }
    std::copy_n(data + 1, std::min(size - 1, page.size() - begin),
                page.begin() + static_cast<std::ptrdiff_t>(begin));
    try {
        std::uint32_t const files = pool::DecodePoolHeader(page, "image");
        auto const valid = pool::EncodePoolHeader(files);
        Require(files <= pool::poolMaxFileCount);
        Require(std::equal(page.begin(), page.begin() + fieldsSize, valid.begin()));
        Require(pool::PoolFileCountOfSize(pool::PoolImageSize(files)) == files);
    } catch (Failure const& failure) {
        Require(failure.Error() == EUCLEAN);
    }
    return 0;
}

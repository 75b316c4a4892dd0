// The storage figures: how the space of the pool is used.
#include "service/subscribers/StorageFigures.h"

#include <algorithm>
#include <limits>

#include "Item.h"
#include "ipc/Payload.h"
#include "pool/PoolLayout.h"
#include "service/ring/FreeFile.h"
#include "status/StatusText.h"

namespace workstation::service::subscribers {
namespace {

using pool::poolSlotSizeKiB;

unsigned int Saturated(std::uint64_t sizeKiB) {
    constexpr std::uint64_t largest = std::numeric_limits<std::uint32_t>::max();
    return static_cast<unsigned int>(std::min(sizeKiB, largest));
}

} // namespace

StorageFigures CountStorage(pool::PoolImage const& image, store::HeldFiles const& held) {
    StorageFigures figures;
    for (int number = 1; number <= image.FileCount(); ++number) {
        figures.total += poolSlotSizeKiB;
        if (ring::IsFree(image, number)) {
            figures.free += poolSlotSizeKiB;
        } else if (held.notInBuffer.contains(number)) {
            figures.untransferredNotInBuffer += poolSlotSizeKiB;
        } else {
            figures.buffer += poolSlotSizeKiB;
            figures.untransferredInBuffer += held.inBuffer.contains(number) ? poolSlotSizeKiB : 0U;
        }
    }
    return figures;
}

std::string DescribeStorage(StorageFigures const& figures) {
    return status::DescribeStorage(
        figures.total, {{"buffer", figures.buffer},
                        {"event untransferred in buffer", figures.untransferredInBuffer},
                        {"event untransferred not in buffer", figures.untransferredNotInBuffer},
                        {"free", figures.free}});
}

std::vector<char> EncodeStorage(StorageFigures const& figures) {
    UIntItem total(Saturated(figures.total));
    UIntItem buffer(Saturated(figures.buffer));
    UIntItem inBuffer(Saturated(figures.untransferredInBuffer));
    UIntItem notInBuffer(Saturated(figures.untransferredNotInBuffer));
    UIntItem free(Saturated(figures.free));
    return ipc::EncodeItems({&total, &buffer, &inBuffer, &notInBuffer, &free});
}

} // namespace workstation::service::subscribers

// The storage figures: how the space of the pool is used.
#include "service/subscribers/StorageFigures.h"

#include <iomanip>
#include <sstream>

#include "Item.h"
#include "ipc/Payload.h"
#include "pool/PoolLayout.h"
#include "service/ring/FreeFile.h"

namespace workstation::service::subscribers {
namespace {

using pool::poolSlotSizeKiB;

double Percentage(unsigned int part, unsigned int whole) {
    return whole == 0 ? 0.0 : 100.0 * part / whole;
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
            figures.untransferredInBuffer += held.inBuffer.contains(number) ? poolSlotSizeKiB : 0;
        }
    }
    return figures;
}

std::string DescribeStorage(StorageFigures const& figures) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << "total " << figures.total << " KiB";
    auto const add = [&](char const* name, unsigned int sizeKiB) {
        text << ", " << name << " " << sizeKiB << " KiB (" << Percentage(sizeKiB, figures.total)
             << " %)";
    };
    add("buffer", figures.buffer);
    add("event untransferred in buffer", figures.untransferredInBuffer);
    add("event untransferred not in buffer", figures.untransferredNotInBuffer);
    add("free", figures.free);
    return text.str();
}

std::vector<char> EncodeStorage(StorageFigures const& figures) {
    UIntItem total(figures.total);
    UIntItem buffer(figures.buffer);
    UIntItem inBuffer(figures.untransferredInBuffer);
    UIntItem notInBuffer(figures.untransferredNotInBuffer);
    UIntItem free(figures.free);
    return ipc::EncodeItems({&total, &buffer, &inBuffer, &notInBuffer, &free});
}

} // namespace workstation::service::subscribers

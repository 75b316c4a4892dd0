// How the space of the pool is used.
#include "service/subscribers/StorageFigures.h"

#include <iomanip>
#include <sstream>

#include "Item.h"
#include "StreamFileAccess.h"
#include "ipc/Payload.h"
#include "pool/PoolLayout.h"

namespace workstation::service::subscribers {
namespace {

constexpr unsigned int slotSizeKiB = pool::poolSlotSize / 1024;

double Percentage(unsigned int part, unsigned int whole) {
    return whole == 0 ? 0.0 : 100.0 * part / whole;
}

} // namespace

StorageFigures CountStorage(StreamFileAccess& pool, store::HeldFiles const& held) {
    StorageFigures figures;
    long const poolSize = pool.GetFilePoolSize();
    for (int number = 1; number <= poolSize; ++number) {
        StreamMgrFileMgmnt::FileMgmnt_t file{};
        bool const isInUse =
            pool.GetFileInfo(number, file) &&
            (file.fileSize != 0 || file.writeController != StreamMgrFileMgmnt::ControlUnknown);
        figures.total += slotSizeKiB;
        if (!isInUse) {
            figures.free += slotSizeKiB;
        } else if (held.behindBuffer.contains(number)) {
            figures.untransferredNotInBuffer += slotSizeKiB;
        } else {
            figures.buffer += slotSizeKiB;
            figures.untransferredInBuffer += held.inBuffer.contains(number) ? slotSizeKiB : 0;
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

// How the space of the pool is used.
#include "service/StorageFigures.h"

#include <iomanip>
#include <sstream>

#include "StreamFileAccess.h"

namespace workstation {
namespace {

constexpr unsigned int slotSizeKiB = 0x5E00000 / 1024;

double Percentage(unsigned int part, unsigned int whole) {
    return whole == 0 ? 0.0 : 100.0 * part / whole;
}

} // namespace

StorageFigures CountStorage(StreamFileAccess& pool) {
    StorageFigures figures;
    long const poolSize = pool.GetFilePoolSize();
    for (int number = 1; number <= poolSize; ++number) {
        StreamMgrFileMgmnt::FileMgmnt_t file{};
        bool const isInUse =
            pool.GetFileInfo(number, file) &&
            (file.fileSize != 0 || file.writeController != StreamMgrFileMgmnt::ControlUnknown);
        figures.total += slotSizeKiB;
        (isInUse ? figures.buffer : figures.free) += slotSizeKiB;
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

} // namespace workstation

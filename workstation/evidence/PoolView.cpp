// A pool image that is only looked at.
#include "evidence/PoolView.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "BigEndian.h"
#include "Failure.h"
#include "pool/PoolImage.h"
#include "pool/PoolLayout.h"

namespace workstation::evidence {

PoolView::PoolView(std::string const& path)
    : path_(path)
    , file_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat status {};
    if (!file_ || fstat(file_.Get(), &status) != 0) {
        throw SystemFailure("cannot open '" + path + "'");
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(EINVAL, "'" + path + "' is not a pool image");
    }
    fileSize_ = static_cast<std::uint64_t>(status.st_size);
    try {
        slotCount_ = pool::ReadPoolHeader(file_.Get(), "pool '" + path + "'");
    } catch (Failure const& damage) {
        auto const bySize = pool::PoolFileCountOfSize(fileSize_);
        if (!bySize || *bySize == 0) {
            throw;
        }
        slotCount_ = *bySize;
        damage_.push_back(damage.what());
    }
    if (fileSize_ != pool::PoolImageSize(slotCount_)) {
        damage_.push_back("pool '" + path +
                          "': " + pool::WrongPoolImageSize(fileSize_, slotCount_));
    }
}

std::uint64_t PoolView::SlotOffset(int slot) const {
    return pool::PoolSlotOffset(slotCount_, slot);
}

std::uint32_t PoolView::Length(int slot) const {
    std::array<unsigned char, 4> word{};
    auto const place = pool::PoolEntryOffset(slot) +
                       static_cast<std::uint64_t>(pool::EntryWord::length) * word.size();
    bool const isRead = pread(file_.Get(), word.data(), word.size(), static_cast<off_t>(place)) ==
                        static_cast<ssize_t>(word.size());
    return isRead ? std::min(GetBig32(word.data()), pool::poolSlotSize) : 0;
}

} // namespace workstation::evidence

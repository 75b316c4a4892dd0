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
#include "StreamMgrFileMgmnt.h"
#include "pool/PoolImage.h"
#include "pool/WriterLock.h"

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

std::optional<std::uint32_t> PoolView::Word(int slot, pool::EntryWord word) const {
    std::array<unsigned char, 4> bytes{};
    auto const place =
        pool::PoolEntryOffset(slot) + static_cast<std::uint64_t>(word) * bytes.size();
    bool const isRead = pread(file_.Get(), bytes.data(), bytes.size(), static_cast<off_t>(place)) ==
                        static_cast<ssize_t>(bytes.size());
    return isRead ? std::make_optional(GetBig32(bytes.data())) : std::nullopt;
}

std::uint32_t PoolView::Length(int slot) const {
    return std::min(Word(slot, pool::EntryWord::length).value_or(0), pool::poolSlotSize);
}

std::uint32_t PoolView::ReadableLength(int slot) const {
    std::uint64_t const begin = std::min(SlotOffset(slot), fileSize_);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(Length(slot), fileSize_ - begin));
}

std::optional<unsigned int> PoolView::StreamBeingRecorded(int slot) const {
    using Pool = StreamMgrFileMgmnt;
    auto const controller = static_cast<int>(Word(slot, pool::EntryWord::controller).value_or(0));
    bool const isStream = controller >= Pool::ControlStream1 && controller <= Pool::ControlStream4;
    return isStream && pool::HasWriter(file_.Get(), slot)
               ? std::make_optional(
                     static_cast<unsigned int>(controller - Pool::ControlStream1 + 1))
               : std::nullopt;
}

std::optional<std::string> PoolView::DamageOf(int slot) const {
    auto const length = Word(slot, pool::EntryWord::length);
    if (!length) {
        return pool::StreamFileName(slot) + ": the table entry cannot be read";
    }
    return *length > pool::poolSlotSize ? std::make_optional(pool::LengthBeyondSlot(slot, *length))
                                        : std::nullopt;
}

} // namespace workstation::evidence

// Makes the kernel write to the disk early what is written in one go.
#include "pool/WriteBehind.h"

#include <fcntl.h>

namespace workstation::pool {
namespace {

constexpr std::uint64_t stepSize = 4 << 20;

} // namespace

void WriteBehind::AfterWrite(int descriptor, std::uint64_t offset, std::uint64_t size) {
    if (offset != end_) {
        begin_ = offset;
    }
    end_ = offset + size;
    if (end_ - begin_ >= stepSize) {
        // Only a hint: where it fails, the flush takes longer.
        sync_file_range(descriptor, static_cast<off_t>(begin_), static_cast<off_t>(end_ - begin_),
                        SYNC_FILE_RANGE_WRITE);
        begin_ = end_;
    }
}

} // namespace workstation::pool

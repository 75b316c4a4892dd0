// The storage figures: how the space of the pool is used.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pool/PoolImage.h"
#include "store/EventStore.h"

namespace workstation::service::subscribers {

// Sizes in KiB, whole slots each: total = buffer + untransferredNotInBuffer + free, and
// untransferredInBuffer is a part of buffer.
struct StorageFigures {
    std::uint64_t total = 0;
    std::uint64_t buffer = 0;                   // in use by recordings
    std::uint64_t untransferredInBuffer = 0;    // of this, held by events
    std::uint64_t untransferredNotInBuffer = 0; // held by events, older than the buffer
    std::uint64_t free = 0;                     // never written, or wiped

    bool operator==(StorageFigures const&) const = default;
};

// Counts the files of the pool. A file that states a length, or is being written, is in use.
StorageFigures CountStorage(pool::PoolImage const& image, store::HeldFiles const& held);

// The figures and their shares of the total, on one line for the log.
std::string DescribeStorage(StorageFigures const& figures);

// The payload of the storage-space notification. Its words have 32 bits: a figure of 4 TiB and
// more, that of more than 44,620 files, is sent as the largest there is.
std::vector<char> EncodeStorage(StorageFigures const& figures);

} // namespace workstation::service::subscribers

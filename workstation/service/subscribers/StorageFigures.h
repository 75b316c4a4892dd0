// The storage figures: how the space of the pool is used.
#pragma once

#include <string>
#include <vector>

#include "pool/PoolImage.h"
#include "store/EventStore.h"

namespace workstation::service::subscribers {

// Sizes in KiB, whole slots each: total = buffer + untransferredNotInBuffer + free, and
// untransferredInBuffer is a part of buffer.
struct StorageFigures {
    unsigned int total = 0;
    unsigned int buffer = 0;                   // in use by recordings
    unsigned int untransferredInBuffer = 0;    // of this, held by events
    unsigned int untransferredNotInBuffer = 0; // held by events, older than the buffer
    unsigned int free = 0;                     // never written, or wiped

    bool operator==(StorageFigures const&) const = default;
};

// Counts the files of the pool. A file that states a length, or is being written, is in use.
StorageFigures CountStorage(pool::PoolImage const& image, store::HeldFiles const& held);

// The figures and their shares of the total, on one line for the log.
std::string DescribeStorage(StorageFigures const& figures);

// The payload of the storage-space notification.
std::vector<char> EncodeStorage(StorageFigures const& figures);

} // namespace workstation::service::subscribers

// How the space of the pool is used.
#pragma once

#include <string>
#include <vector>

#include "store/EventStore.h"

class StreamFileAccess;

namespace workstation::service::subscribers {

// Sizes in KiB, whole slots each: total = buffer + untransferredNotInBuffer + free, and
// untransferredInBuffer is a part of buffer.
struct StorageFigures {
    unsigned int total = 0;
    unsigned int buffer = 0;                   // what the recordings go round in
    unsigned int untransferredInBuffer = 0;    // events, where the recordings still are
    unsigned int untransferredNotInBuffer = 0; // events that the recordings have left behind
    unsigned int free = 0;                     // never written, or wiped

    bool operator==(StorageFigures const&) const = default;
};

// Counts the files of the pool: one that states a length, or is being written, is in use.
StorageFigures CountStorage(StreamFileAccess& pool, store::HeldFiles const& held);

// The figures with their shares of the total, one text for the log.
std::string DescribeStorage(StorageFigures const& figures);

// The payload of the storage-space notification.
std::vector<char> EncodeStorage(StorageFigures const& figures);

} // namespace workstation::service::subscribers

// Which interval and which streams an event keeps, by the files that it holds.
#pragma once

#include <cstdint>
#include <vector>

#include "store/Event.h"

namespace workstation::store {

// Seconds since the epoch, both ends included.
struct Interval {
    std::int64_t start;
    std::int64_t stop;
};

// The bit of the file's stream in Event::streams.
inline unsigned int StreamBit(RecordedFile const& file) {
    return 1U << (file.stream - 1);
}

// Whether the file has a part of the interval. A file that is still being recorded reaches until
// `now`.
bool Overlaps(RecordedFile const& file, Interval wanted, std::int64_t now);

// An event, without identifier, of the streams of the files and of the part of `wanted` that they
// cover. There is at least one file.
Event EventCovering(std::vector<RecordedFile> const& files, Interval wanted, std::int64_t now);

} // namespace workstation::store

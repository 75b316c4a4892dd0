// Which interval and which streams an event keeps, by the files that it holds.
#include "store/EventInterval.h"

#include <algorithm>

namespace workstation::store {
namespace {

Interval IntervalOf(RecordedFile const& file, std::int64_t now) {
    return {file.startTime, file.finished ? file.stopTime : std::max(file.startTime, now)};
}

} // namespace

bool Overlaps(RecordedFile const& file, Interval wanted, std::int64_t now) {
    Interval const recorded = IntervalOf(file, now);
    return recorded.start <= wanted.stop && wanted.start <= recorded.stop;
}

Event EventCovering(std::vector<RecordedFile> const& files, Interval wanted, std::int64_t now) {
    Interval covered = IntervalOf(files.front(), now);
    unsigned int streams = 0;
    for (RecordedFile const& file : files) {
        Interval const one = IntervalOf(file, now);
        covered = {std::min(covered.start, one.start), std::max(covered.stop, one.stop)};
        streams |= StreamBit(file);
    }
    Event event;
    event.startTime = std::max(covered.start, wanted.start);
    event.stopTime = std::max(event.startTime, std::min(covered.stop, wanted.stop));
    event.streams = streams;
    return event;
}

} // namespace workstation::store

// A store in a directory of its own, and the files and events that the cases put into it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "store/EventStore.h"
#include "support/TemporaryRoot.h"

namespace workstation::store {

inline void PrintTo(RecordedFile const& file, std::ostream* out) {
    *out << "link " << file.id << ": file " << file.fileNumber << " of stream " << file.stream
         << ", time " << file.startTime << " to " << file.stopTime << ", ticks " << file.firstTick
         << " to " << file.lastTick << ", " << file.size << " bytes"
         << (file.finished ? ", finished" : "") << (file.wiped ? ", wiped" : "");
}

inline void PrintTo(Event const& event, std::ostream* out) {
    *out << "event " << event.reid << ": time " << event.startTime << " to " << event.stopTime
         << ", streams " << event.streams << (event.tagsComplete ? ", tags complete" : "")
         << ", parent '" << event.parent << "'";
}

constexpr unsigned int allStreams = 0xF;

class StoreTest : public testing::Test {
protected:
    std::string Path() const { return root_.Path() / "events.db"; }

    // A finished recording from `start` to `stop`, with one tick a second.
    RecordedFile Record(unsigned int stream, int fileNumber, std::int64_t start, std::int64_t stop,
                        unsigned int size = 1000) {
        auto const first = static_cast<unsigned int>(start);
        auto const last = static_cast<unsigned int>(stop);
        auto const id = store_.BeginFile(stream, fileNumber, start, first);
        EXPECT_TRUE(id);
        EXPECT_TRUE(store_.FinishFile(*id, size, stop, last));
        return {*id, fileNumber, stream, start, stop, first, last, size, true, false};
    }

    // A recording that goes on.
    RecordedFile Begin(unsigned int stream, int fileNumber, std::int64_t start) {
        auto const first = static_cast<unsigned int>(start);
        auto const id = store_.BeginFile(stream, fileNumber, start, first);
        EXPECT_TRUE(id);
        return {*id, fileNumber, stream, start, start, first, first, 0, false, false};
    }

    TemporaryRoot root_;
    EventStore store_{Path()};
};

inline RecordedFile Wiped(RecordedFile file) {
    file.wiped = true;
    return file;
}

} // namespace workstation::store

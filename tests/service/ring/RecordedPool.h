// A pool of three files, and the recordings that a test makes in them.
#pragma once

#include "service/PoolAndStore.h"
#include "service/ring/FileAllocator.h"

namespace ring_test {

inline std::vector<unsigned char> Packets(std::size_t count) {
    return std::vector<unsigned char>(count * 188, 0x47);
}

// Records one packet into the next file, with this tick. The number of the file; 0 when no file can
// be taken.
inline int RecordPacket(workstation::service::ring::FileAllocator& files, int stream,
                        std::uint32_t tick) {
    auto const file = files.Take(stream);
    if (!file) {
        return 0;
    }
    file->Append(Packets(1), workstation::RangeOf(tick, tick), {});
    file->Finish();
    return file->Number();
}

class RecordedPoolTest : public testing::Test {
protected:
    int Record(int stream, std::uint32_t tick) { return RecordPacket(files_, stream, tick); }

    // Records into all files, with the ticks 0 to 2.
    void Fill() {
        for (std::uint32_t tick = 0; tick < 3; ++tick) {
            Record(1, tick);
        }
    }

    // Makes an event of what was recorded in these seconds. Its identifier.
    std::string Hold(std::int64_t start, std::int64_t stop) {
        auto const event = parts_.Store().RecordAfterTheFact(start, stop, 0xF, 2000);
        EXPECT_TRUE(event);
        return event ? event->reid : "";
    }

    workstation::PoolAndStore parts_{3};
    workstation::service::ring::Flusher flusher_{parts_.Pool()};
    workstation::service::ring::FileAllocator files_{parts_.Session(), parts_.Store(), flusher_};
};

} // namespace ring_test

// Collects the packets of a recording and writes them to its target in blocks.
#include "service/recording/BlockWriter.h"

#include "ts/TsPacket.h"

namespace workstation::service::recording {
namespace {

constexpr std::chrono::milliseconds longestWait(100);

} // namespace

BlockWriter::BlockWriter(RecordingTarget& target, TickStamper const& stamper, RecordingClock& clock)
    : target_(target)
    , stamper_(stamper)
    , clock_(clock) {}

void BlockWriter::Add(std::span<unsigned char const> packets) {
    if (!hasBegun_) {
        target_.Begin();
        hasBegun_ = true;
    }
    stamper_.Pass(packets, clock_.Now(), clock_.WallNow(), block_);
    auto const now = clock_.Now(); // numbering ticks may have taken time
    if (!due_) {
        due_ = now + longestWait;
    }
    if (block_.bytes.size() >= ts::tsBlockSize || now >= *due_) {
        Flush();
    }
}

void BlockWriter::Flush() {
    if (!block_.bytes.empty()) {
        target_.Write(block_);
    }
    block_.Clear();
    due_.reset();
}

void BlockWriter::Complete() {
    Flush();
    stamper_.ReturnRest();
}

void BlockWriter::End() {
    if (hasBegun_) {
        target_.End();
    }
}

} // namespace workstation::service::recording

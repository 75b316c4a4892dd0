// What a flush covers of a stream file that is being recorded.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "pool/PoolImage.h"

struct XXH3_state_s;

namespace workstation::service::ring {

// A mark stands in the pool, and becomes durable with the bytes that it covers: one flush is enough
// for both. Where power is lost during the flush, either of them may be missing, so a mark counts
// only if the bytes have its checksum.
struct FlushMark {
    std::int64_t link = 0;   // the file's row in the database; 0: no mark
    std::uint32_t begin = 0; // the bytes from `begin` to `end` of the slot
    std::uint32_t end = 0;
    std::uint64_t checksum = 0; // a RunningChecksum of these bytes

    bool operator==(FlushMark const&) const = default;
};

// Used in turn: one for what is being appended, one for what is being flushed, and one for the
// flush before, which holds until the next is complete.
constexpr unsigned int marksPerStream = 3;

// Streams count from 1. `turn` counts the flushes of the stream.
void WriteFlushMark(pool::PoolImage& image, unsigned int stream, unsigned int turn,
                    FlushMark const& mark);

std::array<FlushMark, marksPerStream> ReadFlushMarks(pool::PoolImage const& image,
                                                     unsigned int stream);

// A 64-bit checksum (XXH3) of bytes that come in pieces.
class RunningChecksum {
public:
    RunningChecksum();

    void Restart();
    void Add(std::span<unsigned char const> bytes);
    std::uint64_t Value() const;

private:
    struct Free {
        void operator()(XXH3_state_s* state) const;
    };

    std::unique_ptr<XXH3_state_s, Free> state_;
};

} // namespace workstation::service::ring

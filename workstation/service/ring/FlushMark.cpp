// What a flush covers of a stream file that is being recorded.
#include "service/ring/FlushMark.h"

#include <xxhash.h>

#include <new>

#include "BigEndian.h"

namespace workstation::service::ring {
namespace {

constexpr std::size_t beginAt = 8;
constexpr std::size_t endAt = 12;
constexpr std::size_t checksumAt = 16;
constexpr std::size_t markSize = 24;

// Where the mark stands in the pool's service area.
unsigned char* Place(pool::PoolImage const& image, unsigned int stream, unsigned int turn) {
    std::size_t const index = std::size_t{stream - 1} * marksPerStream + turn % marksPerStream;
    return image.ServiceArea().subspan(index * markSize, markSize).data();
}

} // namespace

void WriteFlushMark(pool::PoolImage& image, unsigned int stream, unsigned int turn,
                    FlushMark const& mark) {
    unsigned char* const place = Place(image, stream, turn);
    PutBig64(place, static_cast<std::uint64_t>(mark.link));
    PutBig32(place + beginAt, mark.begin);
    PutBig32(place + endAt, mark.end);
    PutBig64(place + checksumAt, mark.checksum);
}

std::array<FlushMark, marksPerStream> ReadFlushMarks(pool::PoolImage const& image,
                                                     unsigned int stream) {
    std::array<FlushMark, marksPerStream> marks;
    for (unsigned int turn = 0; turn < marksPerStream; ++turn) {
        unsigned char const* const place = Place(image, stream, turn);
        marks[turn] = {static_cast<std::int64_t>(GetBig64(place)), GetBig32(place + beginAt),
                       GetBig32(place + endAt), GetBig64(place + checksumAt)};
    }
    return marks;
}

RunningChecksum::RunningChecksum()
    : state_(XXH3_createState()) {
    if (state_ == nullptr) {
        throw std::bad_alloc();
    }
    Restart();
}

void RunningChecksum::Restart() {
    XXH3_64bits_reset(state_.get());
}

void RunningChecksum::Add(std::span<unsigned char const> bytes) {
    XXH3_64bits_update(state_.get(), bytes.data(), bytes.size());
}

std::uint64_t RunningChecksum::Value() const {
    return XXH3_64bits_digest(state_.get());
}

void RunningChecksum::Free::operator()(XXH3_state_s* state) const {
    XXH3_freeState(state);
}

} // namespace workstation::service::ring

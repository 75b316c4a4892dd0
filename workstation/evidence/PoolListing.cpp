// What is in the slots and in the streams of a pool.
#include "evidence/PoolListing.h"

#include <algorithm>
#include <map>

#include "evidence/SlotReader.h"

namespace workstation::evidence {
namespace {

SlotState StateByTicks(ListedSlot const& slot) {
    return slot.ends ? SlotState::finished : SlotState::unknown;
}

SlotState StateByCatalogue(ListedSlot const& slot, store::RecordedFile const* file) {
    if (file != nullptr && !file->finished) {
        return SlotState::recording;
    }
    if (slot.bytes == 0) {
        return SlotState::free;
    }
    return file != nullptr ? SlotState::finished : SlotState::unknown;
}

SlotReader ReaderOf(PoolView const& pool, ListedSlot const& slot) {
    return {pool.Descriptor(), pool.SlotOffset(slot.slot),
            std::min(slot.bytes, pool.ReadableLength(slot.slot))};
}

// A slot that becomes shorter is recorded over: what was read is of two recordings.
void ReadEnds(PoolView const& pool, ListedSlot& slot) {
    do {
        slot.bytes = pool.Length(slot.slot);
        SlotReader reader = ReaderOf(pool, slot);
        slot.ends = FindSlotEnds(reader);
    } while (pool.Length(slot.slot) < slot.bytes);
}

void Append(ListedStream& stream, PoolView const& pool, ListedSlot const& slot,
            std::optional<PlacedTick>& last) {
    stream.slots.push_back(slot.slot);
    stream.bytes += slot.bytes;
    if (!slot.ends) {
        return;
    }
    if (last && IsGap(*last, slot.ends->first)) {
        stream.gaps.push_back({last->time, slot.ends->first.time});
    }
    if (!last) {
        stream.from = slot.ends->first.time;
    }
    SlotReader reader = ReaderOf(pool, slot);
    AppendTimeGaps(reader, *slot.ends, stream.gaps);
    stream.to = slot.ends->last.time;
    last = slot.ends->last;
}

} // namespace

char const* Name(SlotState state) {
    switch (state) {
    case SlotState::free:
        return "free";
    case SlotState::recording:
        return "recording";
    case SlotState::finished:
        return "finished";
    case SlotState::unknown:
        return "unknown";
    }
    return "";
}

ListedSlot ListSlot(PoolView const& pool, Catalogue const* catalogue, int slot) {
    ListedSlot listed{.slot = slot, .state = {}, .stream = {}, .bytes = 0, .ends = {}};
    ReadEnds(pool, listed);
    if (catalogue == nullptr) {
        listed.state = StateByTicks(listed);
        return listed;
    }
    if ((listed.stream = pool.StreamBeingRecorded(slot))) {
        listed.state = SlotState::recording;
        return listed;
    }
    store::RecordedFile const* const file = catalogue->FileIn(slot);
    listed.state = StateByCatalogue(listed, file);
    if (file != nullptr && listed.state != SlotState::free) {
        listed.stream = file->stream;
    }
    return listed;
}

std::vector<ListedStream> ListStreams(PoolView const& pool, Catalogue const& catalogue) {
    std::map<unsigned int, ListedStream> streams;
    std::map<unsigned int, std::optional<PlacedTick>> last; // of each stream
    for (store::RecordedFile const& file : catalogue.Files()) {
        if (file.fileNumber > static_cast<int>(pool.SlotCount())) {
            continue;
        }
        ListedSlot const slot = ListSlot(pool, &catalogue, file.fileNumber);
        if (slot.stream == file.stream) { // else emptied, or recorded over by another stream
            streams[file.stream].stream = file.stream;
            Append(streams[file.stream], pool, slot, last[file.stream]);
        }
    }
    std::vector<ListedStream> listed;
    listed.reserve(streams.size());
    for (auto& [number, stream] : streams) {
        listed.push_back(std::move(stream));
    }
    return listed;
}

} // namespace workstation::evidence

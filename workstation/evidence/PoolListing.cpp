// What is in the slots and in the streams of a pool.
#include "evidence/PoolListing.h"

#include <algorithm>
#include <map>

#include "evidence/OrderedTasks.h"
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

// A damaged database may state any number.
bool HasSlot(PoolView const& pool, store::RecordedFile const& file) {
    return file.fileNumber >= 1 && file.fileNumber <= static_cast<int>(pool.SlotCount());
}

// Puts the slots together, in the order of recording.
class StreamLister {
public:
    explicit StreamLister(PoolView const& pool)
        : pool_(pool) {}

    // A slot that was emptied, or recorded over by another stream, is left out.
    void Add(store::RecordedFile const& file, ListedSlot const& slot) {
        if (slot.stream == file.stream) {
            Append(streams_[file.stream], slot);
        }
    }

    std::vector<ListedStream> Take() {
        std::vector<ListedStream> listed;
        listed.reserve(streams_.size());
        for (auto& [number, stream] : streams_) {
            stream.listed.stream = number;
            listed.push_back(std::move(stream.listed));
        }
        return listed;
    }

private:
    struct OpenStream {
        ListedStream listed;
        std::optional<PlacedTick> last;
    };

    void Append(OpenStream& stream, ListedSlot const& slot);

    PoolView const& pool_;
    std::map<unsigned int, OpenStream> streams_;
};

void StreamLister::Append(OpenStream& stream, ListedSlot const& slot) {
    ListedStream& listed = stream.listed;
    listed.slots.push_back(slot.slot);
    listed.bytes += slot.bytes;
    if (!slot.ends) {
        return;
    }
    if (stream.last && IsGap(*stream.last, slot.ends->first)) {
        listed.gaps.push_back({stream.last->time, slot.ends->first.time});
    }
    if (!stream.last) {
        listed.from = slot.ends->first.time;
    }
    SlotReader reader = ReaderOf(pool_, slot);
    AppendTimeGaps(reader, *slot.ends, listed.gaps);
    listed.to = slot.ends->last.time;
    stream.last = slot.ends->last;
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
    StreamLister streams(pool);
    for (store::RecordedFile const& file : catalogue.Files()) {
        if (HasSlot(pool, file)) {
            streams.Add(file, ListSlot(pool, &catalogue, file.fileNumber));
        }
    }
    return streams.Take();
}

PoolContents ListContents(PoolView const& pool, Catalogue const* catalogue) {
    PoolContents contents;
    contents.slots.resize(pool.SlotCount());
    RunTasks(contents.slots.size(), [&](std::size_t task) {
        contents.slots[task] = ListSlot(pool, catalogue, static_cast<int>(task) + 1);
    });
    if (catalogue != nullptr) {
        StreamLister streams(pool);
        for (store::RecordedFile const& file : catalogue->Files()) {
            if (HasSlot(pool, file)) {
                streams.Add(file, contents.Slot(file.fileNumber));
            }
        }
        contents.streams = streams.Take();
    }
    for (ListedSlot const& slot : contents.slots) {
        if (!slot.stream && slot.ends) {
            SlotReader reader = ReaderOf(pool, slot);
            std::vector<TimeGap> gaps;
            AppendTimeGaps(reader, *slot.ends, gaps);
            for (TimeGap const& gap : gaps) {
                contents.gapsOfUnknown.push_back({slot.slot, gap});
            }
        }
    }
    return contents;
}

} // namespace workstation::evidence

// Which bytes of which slots an export consists of.
#include "evidence/exporting/ExportPlan.h"

#include <cerrno>

#include "Failure.h"
#include "evidence/TickSearch.h"
#include "evidence/exporting/DecoderStart.h"
#include "pool/PoolLayout.h"

namespace workstation::evidence::exporting {
namespace {

// Whether the link may hold the tick. A stream uses no number twice.
bool MayHold(store::RecordedFile const& file, PlacedTick const& tick) {
    std::uint32_t const number = tick.tick - file.firstTick;
    bool const isBefore = number > UINT32_MAX / 2 || tick.time < file.startTime;
    bool const isAfter =
        file.finished && (number > file.lastTick - file.firstTick || tick.time > file.stopTime);
    return !isBefore && !isAfter;
}

class IntervalPlanner {
public:
    IntervalPlanner(PoolSlots& slots, std::vector<store::RecordedFile> const& chain,
                    Interval const& interval, StartAt startAt)
        : slots_(slots)
        , chain_(chain)
        , interval_(interval)
        , startAt_(startAt) {}

    void Take(std::size_t link);

    std::vector<Piece> const& Pieces() const { return pieces_; }

private:
    bool MayOverlap(store::RecordedFile const& file) const;
    bool IsInside(store::RecordedFile const& file) const;
    void Begin(std::size_t link, PlacedTick const& first);
    void Add(int slot, std::uint64_t from, std::uint64_t to);

    PoolSlots& slots_;
    std::vector<store::RecordedFile> const& chain_;
    Interval interval_;
    StartAt startAt_;
    std::vector<Piece> pieces_;
};

// The database knows the times of the first and the last tick of a finished link.
bool IntervalPlanner::MayOverlap(store::RecordedFile const& file) const {
    bool const endsBefore = file.finished && file.stopTime < interval_.from;
    bool const beginsAfter = interval_.to && file.startTime > *interval_.to;
    return !endsBefore && !beginsAfter;
}

bool IntervalPlanner::IsInside(store::RecordedFile const& file) const {
    return file.startTime >= interval_.from &&
           (!interval_.to || (file.finished && file.stopTime <= *interval_.to));
}

void IntervalPlanner::Add(int slot, std::uint64_t from, std::uint64_t to) {
    if (from < to) {
        pieces_.push_back({slot, from, to - from});
    }
}

// The first tick of the export has been found. What is before it comes first.
void IntervalPlanner::Begin(std::size_t link, PlacedTick const& first) {
    std::vector<int> numbers;
    for (store::RecordedFile const& file : chain_) {
        numbers.push_back(file.fileNumber);
    }
    ChainPlace start = startAt_ == StartAt::tick ? ChainPlace{link, first.offset}
                                                 : FindDecoderStart(slots_, numbers, link, first);
    for (; start.link < link; start = {start.link + 1, 0}) {
        Add(numbers[start.link], start.offset, slots_.At(numbers[start.link]).Length());
    }
    Add(numbers[link], start.offset, first.offset);
}

// Takes the part of a link that lies in the interval.
void IntervalPlanner::Take(std::size_t link) {
    store::RecordedFile const& file = chain_[link];
    if (!MayOverlap(file)) {
        return;
    }
    OpenedSlot& slot = slots_.At(file.fileNumber);
    TickSearch search(slot);
    auto first = search.First(0, slot.Length());
    if (first && !MayHold(file, *first)) {
        throw Failure(ESTALE, pool::StreamFileName(file.fileNumber) +
                                  " was recorded over: it begins with tick " +
                                  std::to_string(first->tick) + ", which is not in the database");
    }
    std::uint64_t begin = 0;
    if (pieces_.empty() || file.startTime < interval_.from) {
        if (first && first->time < interval_.from) {
            first = search.FirstNotBefore(interval_.from, first->offset);
        }
        if (first && !interval_.Has(first->time)) {
            return;
        }
        if (!first && !IsInside(file)) {
            return;
        }
        if (first && pieces_.empty()) {
            Begin(link, *first);
        }
        begin = first ? first->offset : 0;
    }
    std::uint64_t end = slot.Length();
    if (interval_.to && !IsInside(file)) {
        auto const after = search.FirstNotBefore(*interval_.to + 1, begin);
        end = after ? after->offset : end;
    }
    if (!pieces_.empty() && pieces_.back().slot == file.fileNumber &&
        pieces_.back().End() == begin) {
        pieces_.back().bytes += end - begin;
    } else {
        Add(file.fileNumber, begin, end);
    }
}

} // namespace

std::vector<Piece> PlanSlots(PoolSlots& slots, std::vector<int> const& numbers) {
    std::vector<Piece> pieces;
    for (int const number : numbers) {
        std::uint64_t const length = slots.At(number).Length();
        if (length > 0) {
            pieces.push_back({number, 0, length});
        }
    }
    return pieces;
}

std::vector<Piece> PlanInterval(PoolSlots& slots, std::vector<store::RecordedFile> const& chain,
                                std::vector<bool> const& isWanted, Interval const& interval,
                                StartAt startAt) {
    IntervalPlanner planner(slots, chain, interval, startAt);
    for (std::size_t link = 0; link < chain.size(); ++link) {
        if (isWanted[link]) {
            planner.Take(link);
        }
    }
    return planner.Pieces();
}

} // namespace workstation::evidence::exporting

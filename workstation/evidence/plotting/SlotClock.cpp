// The clock of a slot: its ticks, and how fast its bytes came.
#include "evidence/plotting/SlotClock.h"

#include "evidence/TimeGaps.h"
#include "ts/TickInserter.h"

namespace workstation::evidence::plotting {
namespace {

class ClockReader : public ScanObserver {
public:
    ClockReader(SlotClock& clock, std::function<void(std::uint64_t bytes)> const& progress)
        : clock_(clock)
        , progress_(progress) {}

    void OnRead(std::span<unsigned char const> bytes) override { progress_(bytes.size()); }
    void OnFault(Fault const& fault) override { clock_.faults.push_back(fault); }
    void OnTick(PlacedTick const& tick) override {
        if (!clock_.ticks.empty() && IsGap(clock_.ticks.back(), tick)) {
            clock_.gaps.push_back({clock_.ticks.back(), tick});
        }
        clock_.ticks.push_back(tick);
    }

private:
    SlotClock& clock_;
    std::function<void(std::uint64_t bytes)> const& progress_;
};

// From one tick to another one of the same uninterrupted recording.
void AddRate(std::vector<ClockRate>& rates, PlacedTick const& from, PlacedTick const& to) {
    std::uint32_t const ticks = to.tick - from.tick;
    if (ticks > 0) {
        rates.push_back({from.time, to.time == from.time ? to.time + 1 : to.time,
                         (to.offset - from.offset) * 8 * ts::TickInserter::usualRate / ticks});
    }
}

std::vector<ClockRate> RatesOf(std::vector<PlacedTick> const& ticks) {
    std::vector<ClockRate> rates;
    std::size_t begin = 0;
    for (std::size_t i = 1; i < ticks.size(); ++i) {
        bool const isGap = IsGap(ticks[i - 1], ticks[i]);
        if (isGap) {
            AddRate(rates, ticks[begin], ticks[i - 1]);
        } else if (ticks[i].time != ticks[begin].time || i + 1 == ticks.size()) {
            AddRate(rates, ticks[begin], ticks[i]);
        } else {
            continue;
        }
        begin = i;
    }
    return rates;
}

} // namespace

SlotClock ReadSlotClock(int number, ByteSource& slot,
                        std::function<void(std::uint64_t bytes)> const& progress) {
    SlotClock clock{
        .slot = number, .summary = {}, .ticks = {}, .gaps = {}, .faults = {}, .rates = {}};
    ClockReader reader(clock, progress);
    clock.summary = ScanSlot(slot, reader);
    clock.rates = RatesOf(clock.ticks);
    return clock;
}

} // namespace workstation::evidence::plotting

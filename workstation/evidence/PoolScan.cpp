// Looks through the slots of a pool for damage, several at once.
#include "evidence/PoolScan.h"

#include "evidence/OrderedTasks.h"
#include "evidence/SlotReader.h"

namespace workstation::evidence {
namespace {

// The faults that a slot may keep while it waits for its turn to report.
constexpr std::size_t keptFaults = 10000;

// The faults of one slot on their way to the report.
class FaultQueue : public ScanObserver {
public:
    FaultQueue(Turn& turn, int slot, ScanReport& report,
               std::function<void(std::uint64_t bytes)> const& progress)
        : turn_(turn)
        , slot_(slot)
        , report_(report)
        , progress_(progress) {}

    void OnRead(std::span<unsigned char const> bytes) override { progress_(bytes.size()); }

    void OnFault(Fault const& fault) override {
        if (kept_.size() == keptFaults) {
            PassOn();
        }
        kept_.push_back(fault);
    }

    // Waits for the slot's turn and reports what was kept.
    void PassOn() {
        turn_.Await();
        for (Fault const& fault : kept_) {
            report_.Add(slot_, fault);
        }
        kept_.clear();
    }

private:
    Turn& turn_;
    int slot_;
    ScanReport& report_;
    std::function<void(std::uint64_t bytes)> const& progress_;
    std::vector<Fault> kept_;
};

} // namespace

std::uint64_t ScanPool(PoolView const& pool, std::vector<int> const& slots, ScanReport& report,
                       std::function<void(std::uint64_t bytes)> const& progress) {
    Turns turns;
    std::uint64_t faults = 0;
    RunTasks(slots.size(), [&](std::size_t task) {
        Turn turn(turns, task);
        int const number = slots[task];
        SlotReader slot(pool.Descriptor(), pool.SlotOffset(number), pool.Length(number));
        FaultQueue queue(turn, number, report, progress);
        auto const summary = ScanSlot(slot, queue);
        queue.PassOn();
        report.End(number, summary);
        faults += summary.faults;
    });
    report.End();
    return faults;
}

} // namespace workstation::evidence

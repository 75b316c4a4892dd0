// Reads event databases whose rows are arbitrary, as far as the tables allow.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <limits>
#include <set>
#include <string>

#include "Failure.h"
#include "Require.h"
#include "Root.h"
#include "store/Database.h"
#include "store/EventStore.h"
#include "store/Statement.h"
#include "support/TemporaryRoot.h"

using namespace workstation;

namespace {

// The store, and a connection that puts rows into its database.
class Rows {
public:
    Rows() { rows_.Execute("PRAGMA synchronous = OFF; PRAGMA foreign_keys = ON"); }

    store::EventStore& Store() { return store_; }

    void Begin() {
        rows_.Execute("BEGIN; DELETE FROM event_file; DELETE FROM event; DELETE FROM file;"
                      " DELETE FROM recording; DELETE FROM tick_counter");
    }
    void Commit() { rows_.Execute("COMMIT"); }

    // A row that the table does not allow is left out.
    template <typename... Values>
    void Insert(char const* statement, Values const&... values) const {
        try {
            store::Execute(rows_, statement, values...);
        } catch (Failure const&) {
        }
    }

private:
    TemporaryRoot root_;
    store::EventStore store_{DatabasePath()};
    store::Database rows_{DatabasePath(), store::Database::Mode::existing};
};

// Mostly small, so that rows meet; sometimes at the ends of what a number can be.
std::int64_t AnyNumber(FuzzedDataProvider& plan) {
    switch (plan.ConsumeIntegralInRange(0, 7)) {
    case 0:
        return plan.ConsumeIntegral<std::int64_t>();
    case 1:
        return std::numeric_limits<std::int64_t>::max() - plan.ConsumeIntegral<std::uint8_t>();
    case 2:
        return std::numeric_limits<std::int64_t>::min() + plan.ConsumeIntegral<std::uint8_t>();
    default:
        return plan.ConsumeIntegralInRange(0, 9);
    }
}

void InsertRow(FuzzedDataProvider& plan, Rows const& rows) {
    auto const number = [&] { return AnyNumber(plan); };
    auto const reid = [&] {
        return std::string(1, static_cast<char>('a' + plan.ConsumeIntegralInRange(0, 9)));
    };
    switch (plan.ConsumeIntegralInRange(0, 4)) {
    case 0:
        rows.Insert("INSERT INTO file VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)", number(), number(),
                    number(), number(), number(), number(), number(), number(), number(), number());
        break;
    case 1:
        rows.Insert("INSERT INTO event VALUES (?, ?, ?, ?, ?, ?, ?)", number(), reid(), number(),
                    number(), number(), number(), reid());
        break;
    case 2:
        rows.Insert("INSERT INTO event_file VALUES (?, ?)", number(), number());
        break;
    case 3:
        rows.Insert("INSERT INTO recording VALUES (?, ?, ?, ?, ?)", number(), reid(), number(),
                    number(), number());
        break;
    default:
        rows.Insert("INSERT INTO tick_counter VALUES (?, ?, ?)", number(), number(), number());
    }
}

// What is read and changed agrees with itself.
void Use(FuzzedDataProvider& plan, store::EventStore& store) {
    std::set<int> numbers;
    for (store::RecordedFile const& file : store.FilesInUse()) {
        Require(!file.wiped && numbers.insert(file.fileNumber).second);
    }
    Require(store.UnprotectedFiles().size() <= numbers.size());
    static_cast<void>(store.UnfinishedFiles());
    static_cast<void>(store.FilesHeldByEvents());
    static_cast<void>(store.Chain(1, true));
    static_cast<void>(store.ReserveTicks(2, 1200));
    store.EndInterruptedRecordings();
    for (store::RecordingRow const& recording : store.Recordings()) {
        Require(store.IsRecording(recording.reid) && recording.stopTime >= recording.startTime);
    }
    auto const event = store.RecordAfterTheFact(AnyNumber(plan), AnyNumber(plan), 0xF, 5);
    Require(!event || !store.FilesOf(event->reid).empty());
    for (store::Event const& former : store.Events()) {
        std::size_t const files = store.FilesOf(former.reid).size();
        auto const parts = store.SplitEvent(former.reid, plan.ConsumeIntegral<std::uint32_t>());
        Require(parts && parts->size() <= std::max<std::size_t>(files, 1));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static Rows rows;
    FuzzedDataProvider plan(data, size);
    rows.Begin();
    for (int count = plan.ConsumeIntegralInRange(0, 12); count > 0; --count) {
        InsertRow(plan, rows);
    }
    rows.Commit();
    try {
        Use(plan, rows.Store());
    } catch (Failure const&) { // refused, with nothing changed
    }
    return 0;
}

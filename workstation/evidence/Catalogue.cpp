// What the event database knows of the slots of a pool.
#include "evidence/Catalogue.h"

#include <algorithm>

#include "pool/PoolLayout.h"
#include "store/DatabaseCopy.h"
#include "store/EventSchema.h"

namespace workstation::evidence {
namespace {

constexpr std::int64_t firstVersionWithRecordings = 2;

template <typename Row>
Row const* Find(std::vector<Row> const& rows, auto const& hasReid) {
    auto const found = std::ranges::find_if(rows, hasReid);
    return found == rows.end() ? nullptr : &*found;
}

} // namespace

Catalogue::Catalogue(std::string const& path) {
    store::Database const database = store::OpenCopy(path);
    version_ = store::ReadableVersion(database);
    if (!version_) {
        return;
    }
    ReadFiles(database);
    ReadEvents(database);
    if (*version_ >= firstVersionWithRecordings) {
        recordings_ = store::SelectRecordings(database);
    }
}

void Catalogue::ReadFiles(store::Database const& database) {
    auto const count = store::QueryFirst(database, store::ReadFirstNumber,
                                         "SELECT count(*) FROM file WHERE wiped = 0");
    files_.reserve(static_cast<std::size_t>(count.value_or(0)));
    store::Statement rows(database, store::selectFile + "WHERE wiped = 0 ORDER BY id");
    while (rows.Step()) {
        store::RecordedFile const file = store::ReadFile(rows);
        auto const slot = static_cast<std::size_t>(file.fileNumber);
        if (slot > pool::poolMaxFileCount) {
            continue; // no pool has it
        }
        files_.push_back(file);
        fileIn_.resize(std::max(fileIn_.size(), slot + 1));
        fileIn_[slot] = static_cast<std::uint32_t>(files_.size());
    }
}

void Catalogue::ReadEvents(store::Database const& database) {
    for (store::Event& event : store::SelectEvents(database)) {
        HeldEvent& held = events_.emplace_back();
        for (store::RecordedFile const& file : store::SelectFilesOf(database, event.reid)) {
            held.slots.push_back(file.fileNumber);
            held.bytes += file.size;
            holds_.push_back({file.fileNumber, static_cast<std::uint32_t>(events_.size() - 1)});
        }
        held.event = std::move(event);
    }
    std::ranges::sort(holds_);
}

store::RecordedFile const* Catalogue::FileIn(int slot) const {
    auto const place = static_cast<std::size_t>(slot);
    std::uint32_t const file = place < fileIn_.size() ? fileIn_[place] : 0;
    return file == 0 ? nullptr : &files_[file - 1];
}

HeldEvent const* Catalogue::FindEvent(std::string const& reid) const {
    return Find(events_, [&](HeldEvent const& held) { return held.event.reid == reid; });
}

store::RecordingRow const* Catalogue::FindRecording(std::string const& reid) const {
    return Find(recordings_, [&](store::RecordingRow const& row) { return row.reid == reid; });
}

std::vector<std::string> Catalogue::EventsOf(int slot) const {
    std::vector<std::string> reids;
    for (auto hold = std::ranges::lower_bound(holds_, Hold{slot, 0});
         hold != holds_.end() && hold->slot == slot; ++hold) {
        reids.push_back(events_[hold->event].event.reid);
    }
    return reids;
}

} // namespace workstation::evidence

// The rows of the tables `event` and `event_file`: the events and the files that they hold.
#include "store/Event.h"

#include "store/RecordingRow.h"
#include "store/Reid.h"

namespace workstation::store {
namespace {

std::string const selectEvent =
    "SELECT reid, start_time, stop_time, streams, tags_complete, parent FROM event ";

Event ReadEvent(Statement const& row) {
    return {
        .reid = row.Text(0),
        .startTime = row.Number(1),
        .stopTime = row.Number(2),
        .streams = row.Number<unsigned int>(3),
        .tagsComplete = row.Number<bool>(4),
        .parent = row.Text(5),
    };
}

} // namespace

std::vector<Event> SelectEvents(Database const& database) {
    return QueryAll(database, ReadEvent, selectEvent + "ORDER BY id");
}

std::optional<Event> FindEvent(Database const& database, std::string const& reid) {
    return QueryFirst(database, ReadEvent, selectEvent + "WHERE reid = ?", reid);
}

std::vector<RecordedFile> SelectFilesOf(Database const& database, std::string const& reid) {
    return SelectFiles(database,
                       "id IN (SELECT file FROM event_file JOIN event"
                       " ON event.id = event_file.event WHERE reid = ?)",
                       reid);
}

void InsertEvent(Database const& database, Event const& event,
                 std::vector<RecordedFile> const& files) {
    Execute(database,
            "INSERT INTO event (reid, start_time, stop_time, streams, tags_complete, parent)"
            " VALUES (?, ?, ?, ?, ?, ?)",
            event.reid, event.startTime, event.stopTime, event.streams, event.tagsComplete,
            event.parent);
    std::int64_t const id = database.LastRowId();
    for (RecordedFile const& file : files) {
        Execute(database, "INSERT INTO event_file (event, file) VALUES (?, ?)", id, file.id);
    }
}

bool RemoveEvent(Database const& database, std::string const& reid) {
    Execute(database, "DELETE FROM event WHERE reid = ?", reid);
    return database.Changes() > 0;
}

std::string UnusedReid(Database const& database, std::int64_t time) {
    std::string reid;
    do {
        reid = MakeReid(time);
    } while (FindEvent(database, reid) || HasRecording(database, reid));
    return reid;
}

} // namespace workstation::store

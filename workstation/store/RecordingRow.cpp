// The rows of the table `recording`: when which stream was recorded.
#include "store/RecordingRow.h"

#include "store/Statement.h"

namespace workstation::store {
namespace {

constexpr int recordingsKept = 1000; // of each stream

RecordingRow ReadRecording(Statement const& row) {
    return {
        .reid = row.Text(0),
        .stream = row.Number<unsigned int>(1),
        .startTime = row.Number(2),
        .stopTime = row.OptionalNumber(3),
    };
}

} // namespace

std::vector<RecordingRow> SelectRecordings(Database const& database) {
    return QueryAll(database, ReadRecording,
                    "SELECT reid, stream, start_time, stop_time FROM recording ORDER BY id");
}

bool HasRecording(Database const& database, std::string const& reid) {
    return QueryFirst(database, ReadFirstNumber, "SELECT id FROM recording WHERE reid = ?", reid)
        .has_value();
}

void InsertRecording(Database const& database, RecordingRow const& recording) {
    Execute(database, "INSERT INTO recording (reid, stream, start_time) VALUES (?, ?, ?)",
            recording.reid, recording.stream, recording.startTime);
    Execute(database,
            "DELETE FROM recording WHERE stream = ?1 AND id <= (SELECT id FROM recording"
            " WHERE stream = ?1 ORDER BY id DESC LIMIT 1 OFFSET ?2)",
            recording.stream, recordingsKept);
}

void StopRecording(Database const& database, std::string const& reid, std::int64_t stopTime) {
    Execute(database,
            "UPDATE recording SET stop_time = max(start_time, ?2)"
            " WHERE reid = ?1 AND stop_time IS NULL",
            reid, stopTime);
}

void StopInterruptedRecordings(Database const& database) {
    Execute(database, "UPDATE recording SET stop_time = max(start_time, coalesce("
                      "(SELECT max(file.stop_time) FROM file WHERE file.stream = recording.stream),"
                      " start_time)) WHERE stop_time IS NULL");
}

} // namespace workstation::store

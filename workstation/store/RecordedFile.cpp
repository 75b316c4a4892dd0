// The rows of the table `file`: what was recorded into which stream file.
#include "store/RecordedFile.h"

namespace workstation::store {
namespace {

constexpr int wipedLinksKept = 1000; // of each stream

} // namespace

RecordedFile ReadFile(Statement const& row) {
    return {
        .id = row.Number(0),
        .fileNumber = row.Number<int>(1),
        .stream = row.Number<unsigned int>(2),
        .startTime = row.Number(3),
        .stopTime = row.Number(4),
        .firstTick = row.Number<unsigned int>(5),
        .lastTick = row.Number<unsigned int>(6),
        .size = row.Number<unsigned int>(7),
        .finished = row.Number<bool>(8),
        .wiped = row.Number<bool>(9),
    };
}

std::int64_t InsertFile(Database const& database, RecordedFile const& file) {
    Execute(database,
            "INSERT INTO file (file_number, stream, start_time, stop_time, first_tick, last_tick)"
            " VALUES (?1, ?2, ?3, ?3, ?4, ?4)",
            file.fileNumber, file.stream, file.startTime, file.firstTick);
    return database.LastRowId();
}

bool WipeFile(Database const& database, std::int64_t id) {
    auto const stream = QueryFirst(database, ReadFirstNumber,
                                   "UPDATE file SET wiped = 1 WHERE id = ?1 AND wiped = 0"
                                   " AND id NOT IN (SELECT file FROM event_file) RETURNING stream",
                                   id);
    if (!stream) {
        return false;
    }
    Execute(database,
            "DELETE FROM file WHERE stream = ?1 AND wiped = 1 AND id <= (SELECT id FROM file"
            " WHERE stream = ?1 AND wiped = 1 ORDER BY id DESC LIMIT 1 OFFSET ?2)",
            *stream, wipedLinksKept);
    return true;
}

} // namespace workstation::store

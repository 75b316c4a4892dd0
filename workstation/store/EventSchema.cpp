// The tables of the event database (docs/event-database.md).
#include "store/EventSchema.h"

#include <cstdint>
#include <filesystem>
#include <string>

#include "Failure.h"
#include "NewFile.h"
#include "store/Database.h"
#include "store/Statement.h"
#include "store/Transaction.h"

namespace workstation::store {
namespace {

constexpr std::int64_t eventApplicationId = 0x534D4752; // "SMGR"
constexpr std::int64_t eventSchemaVersion = 2;

constexpr char createTables[] = R"(
CREATE TABLE file (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    file_number INTEGER NOT NULL CHECK (file_number >= 1),
    stream INTEGER NOT NULL CHECK (stream BETWEEN 1 AND 4),
    start_time INTEGER NOT NULL,
    stop_time INTEGER NOT NULL CHECK (stop_time >= start_time),
    first_tick INTEGER NOT NULL,
    last_tick INTEGER NOT NULL,
    size INTEGER NOT NULL DEFAULT 0,
    finished INTEGER NOT NULL DEFAULT 0 CHECK (finished IN (0, 1)),
    wiped INTEGER NOT NULL DEFAULT 0 CHECK (wiped IN (0, 1))
) STRICT;
CREATE UNIQUE INDEX file_in_slot ON file (file_number) WHERE wiped = 0;
CREATE INDEX file_chain ON file (stream, wiped, id);

CREATE TABLE event (
    id INTEGER PRIMARY KEY,
    reid TEXT NOT NULL UNIQUE,
    start_time INTEGER NOT NULL,
    stop_time INTEGER NOT NULL CHECK (stop_time >= start_time),
    streams INTEGER NOT NULL CHECK (streams BETWEEN 1 AND 15),
    tags_complete INTEGER NOT NULL DEFAULT 0 CHECK (tags_complete IN (0, 1)),
    parent TEXT NOT NULL DEFAULT ''
) STRICT;

CREATE TABLE event_file (
    event INTEGER NOT NULL REFERENCES event (id) ON DELETE CASCADE,
    file INTEGER NOT NULL REFERENCES file (id),
    PRIMARY KEY (event, file)
) STRICT, WITHOUT ROWID;
CREATE INDEX event_of_file ON event_file (file);

CREATE TABLE tick_counter (
    stream INTEGER PRIMARY KEY CHECK (stream BETWEEN 1 AND 4),
    first INTEGER NOT NULL,
    next INTEGER NOT NULL CHECK (next >= first)
) STRICT;
)";

// Since version 2.
constexpr char createRecordings[] = R"(
CREATE TABLE recording (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    reid TEXT NOT NULL UNIQUE,
    stream INTEGER NOT NULL CHECK (stream BETWEEN 1 AND 4),
    start_time INTEGER NOT NULL,
    stop_time INTEGER CHECK (stop_time >= start_time)
) STRICT;
)";

std::int64_t ReadNumber(Database const& database, std::string const& sql) {
    return QueryFirst(
               database, [](Statement const& row) { return row.Number(0); }, sql)
        .value_or(0);
}

std::string ReadText(Database const& database, std::string const& sql) {
    return QueryFirst(
               database, [](Statement const& row) { return row.Text(0); }, sql)
        .value_or("");
}

[[noreturn]] void Refuse(Database const& database, std::string const& reason) {
    throw Failure(EINVAL, "database '" + database.Path() + "': " + reason);
}

bool IsNew(Database const& database) {
    return ReadNumber(database, "SELECT count(*) FROM sqlite_schema") == 0 &&
           ReadNumber(database, "PRAGMA application_id") == 0;
}

std::int64_t Version(Database const& database) {
    return ReadNumber(database, "PRAGMA user_version");
}

void CheckOrigin(Database const& database) {
    if (ReadNumber(database, "PRAGMA application_id") != eventApplicationId) {
        Refuse(database, "made by another program, not an event database");
    }
    std::int64_t const version = Version(database);
    if (version < 1 || version > eventSchemaVersion) {
        Refuse(database, "version " + std::to_string(version) + ", this program knows versions 1" +
                             " to " + std::to_string(eventSchemaVersion));
    }
}

void CheckContent(Database const& database) {
    std::string const result = ReadText(database, "PRAGMA quick_check(1)");
    if (result != "ok") {
        Refuse(database, "damaged: " + result);
    }
}

void SetVersion(Database const& database) {
    Execute(database, "PRAGMA user_version = " + std::to_string(eventSchemaVersion));
}

// The application id and the version are stored in the same transaction as the tables.
void Create(Database& database) {
    Transaction transaction(database);
    database.Execute(createTables);
    database.Execute(createRecordings);
    Execute(database, "PRAGMA application_id = " + std::to_string(eventApplicationId));
    SetVersion(database);
    transaction.Commit();
}

// Brings a database of an older version up, wholly or not at all.
void Upgrade(Database& database) {
    Transaction transaction(database);
    if (Version(database) < 2) {
        database.Execute(createRecordings);
    }
    SetVersion(database);
    transaction.Commit();
}

// Every commit is flushed to the disk: what the service has answered survives a loss of power.
void SetUp(Database& database) {
    std::string const mode = ReadText(database, "PRAGMA journal_mode = WAL");
    if (mode != "wal") {
        Refuse(database, "no write-ahead log where it lies (journal mode " + mode + ")");
    }
    database.Execute("PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
}

} // namespace

void PrepareEventDatabase(Database& database) {
    bool const isNew = IsNew(database);
    if (!isNew) {
        CheckOrigin(database);
        CheckContent(database);
    }
    SetUp(database);
    if (isNew) {
        Create(database);
        SyncDirectory(std::filesystem::path(database.Path()).parent_path());
    } else if (Version(database) != eventSchemaVersion) {
        Upgrade(database);
    }
}

std::optional<std::int64_t> ReadableVersion(Database const& database) {
    if (IsNew(database)) {
        return std::nullopt;
    }
    CheckOrigin(database);
    CheckContent(database);
    return Version(database);
}

} // namespace workstation::store

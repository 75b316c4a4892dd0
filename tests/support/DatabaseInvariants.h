// What holds in an event database at any moment, whatever happened before.
#pragma once

#include <array>

struct DatabaseInvariant {
    char const* fault;
    char const* query; // its rows are what contradicts the rule
};

inline constexpr std::array databaseInvariants{
    DatabaseInvariant{
        "damaged",
        "SELECT integrity_check FROM pragma_integrity_check WHERE integrity_check <> 'ok'"},
    DatabaseInvariant{"a reference to a row that is missing",
                      "SELECT * FROM pragma_foreign_key_check"},
    DatabaseInvariant{"a stream file with two contents",
                      "SELECT file_number FROM file WHERE wiped = 0 GROUP BY file_number"
                      " HAVING count(*) > 1"},
    DatabaseInvariant{
        "a wiped file that is held",
        "SELECT id FROM file WHERE wiped = 1 AND id IN (SELECT file FROM event_file)"},
    DatabaseInvariant{"an event without files",
                      "SELECT reid FROM event WHERE id NOT IN (SELECT event FROM event_file)"},
    DatabaseInvariant{"an event beside its parts",
                      "SELECT reid FROM event WHERE parent IN (SELECT reid FROM event)"},
};

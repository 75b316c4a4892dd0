// What holds in an event database at any moment, whatever happened before.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "store/Database.h"
#include "store/Statement.h"

namespace workstation::store {

inline std::string FirstText(Database const& database, std::string const& sql) {
    return QueryFirst(
               database, [](Statement const& row) { return row.Text(0); }, sql)
        .value_or("");
}

inline void ExpectConsistent(std::string const& path) {
    Database const database(path, Database::Mode::existing);
    EXPECT_EQ(FirstText(database, "PRAGMA integrity_check"), "ok");
    EXPECT_EQ(FirstText(database, "PRAGMA foreign_key_check"), "");
    EXPECT_EQ(FirstText(database, "SELECT file_number FROM file WHERE wiped = 0"
                                  " GROUP BY file_number HAVING count(*) > 1"),
              "")
        << "a slot with two files";
    EXPECT_EQ(FirstText(database, "SELECT id FROM file WHERE wiped = 1"
                                  " AND id IN (SELECT file FROM event_file)"),
              "")
        << "a wiped file that is held";
    EXPECT_EQ(FirstText(database,
                        "SELECT reid FROM event WHERE id NOT IN (SELECT event FROM event_file)"),
              "")
        << "an event without files";
    EXPECT_EQ(
        FirstText(database, "SELECT reid FROM event WHERE parent IN (SELECT reid FROM event)"), "")
        << "an event beside its parts";
}

} // namespace workstation::store

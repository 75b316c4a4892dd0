// Checks what holds in an event database at any moment.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "store/Database.h"
#include "store/Statement.h"
#include "support/DatabaseInvariants.h"

namespace workstation::store {

inline std::string FirstText(Database const& database, std::string const& sql) {
    return QueryFirst(
               database, [](Statement const& row) { return row.Text(0); }, sql)
        .value_or("");
}

inline void ExpectConsistent(Database const& database) {
    for (DatabaseInvariant const& invariant : databaseInvariants) {
        EXPECT_EQ(FirstText(database, invariant.query), "") << invariant.fault;
    }
}

inline void ExpectConsistent(std::string const& path) {
    ExpectConsistent(Database(path, Database::Mode::existing));
}

} // namespace workstation::store

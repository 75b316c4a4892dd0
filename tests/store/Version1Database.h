// The database that a service of version 1 left (version1.sql).
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "store/Database.h"

namespace workstation::store {

inline void MakeVersion1Database(std::string const& path) {
    std::ifstream file(STREAMMGR_VERSION1_SQL);
    std::string const script{std::istreambuf_iterator<char>(file), {}};
    Database database(path, Database::Mode::create);
    database.Execute(script.c_str());
    database.Execute("PRAGMA journal_mode = WAL");
}

} // namespace workstation::store

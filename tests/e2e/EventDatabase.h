// The event database of a recorder, looked at from outside.
#pragma once

#include <filesystem>
#include <string>

namespace e2e {

// The rows that a query of an SQLite database yields: one a line, with bars between the columns.
std::string Rows(std::filesystem::path const& database, std::string const& query);

// Everything that the database remembers of files, events and ticks.
std::string Everything(std::filesystem::path const& database);

// What contradicts itself in the database; empty when nothing does.
std::string Faults(std::filesystem::path const& database);

} // namespace e2e

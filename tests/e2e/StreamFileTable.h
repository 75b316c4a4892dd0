// The table of stream files as --lsm shows it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace e2e {

struct StreamFileRow {
    int number;
    std::string controller;
    std::string isKnown;
    int readers;
    std::size_t size;
};

std::string StreamFileTable(std::vector<StreamFileRow> const& rows, int poolSize);

} // namespace e2e

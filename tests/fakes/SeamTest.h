// What the tests of the tool at the seam have in common.
#pragma once

#include <ostream>
#include <regex>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "FakePlatform.h"
#include "Show.h"

class SeamTest : public ::testing::Test {
protected:
    // Compares everything that a person sees.
    void ExpectOutput(std::string const& out, std::string const& err) const {
        EXPECT_EQ(platform.Out(), out);
        EXPECT_EQ(platform.Err(), err);
    }

    // The record of an entry in the system log. Every entry begins with its place in the sources;
    // CallsWithoutLines leaves out which line that is.
    static std::string LogEntry(int level, std::string const& text) {
        return "SysLogMsg(" + ShowAll(level, "TheProcess", "StreamMgrCli:# " + text) + ")\n";
    }
    std::string CallsWithoutLines() const {
        static std::regex const place("\"StreamMgrCli:[1-9][0-9]* ");
        return std::regex_replace(platform.Calls(), place, "\"StreamMgrCli:# ");
    }

    FakePlatform platform;
};

// A row of a table of test cases; the name (letters and digits) becomes part of the test's.
struct NamedCase {
    std::string name;
};

inline std::ostream& operator<<(std::ostream& out, NamedCase const& row) {
    return out << row.name;
}

// For INSTANTIATE_TEST_SUITE_P over rows that derive from NamedCase.
struct NameOfCase {
    template <typename Row>
    std::string operator()(::testing::TestParamInfo<Row> const& info) const {
        return info.param.name;
    }
};

// The same over pairs of such rows.
struct NameOfPair {
    template <typename Pair>
    std::string operator()(::testing::TestParamInfo<Pair> const& info) const {
        return std::get<0>(info.param).name + std::get<1>(info.param).name;
    }
};

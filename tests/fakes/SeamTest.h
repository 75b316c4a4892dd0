// What the tests of the tool at the seam have in common.
#pragma once

#include <ostream>
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
        std::string const place = "\"StreamMgrCli:";
        std::string calls = platform.Calls();
        for (auto at = calls.find(place); at != std::string::npos; at = calls.find(place, at + 1)) {
            auto const line = at + place.size();
            auto const end = calls.find_first_not_of("0123456789", line);
            if (end != line && calls[end] == ' ') {
                calls.replace(line, end - line, "#");
            }
        }
        return calls;
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

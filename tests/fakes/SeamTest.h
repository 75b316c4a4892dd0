// What the tests of the tool at the seam have in common.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "FakePlatform.h"

class SeamTest : public ::testing::Test {
protected:
    // Compares everything that a person sees.
    void ExpectOutput(std::string const& out, std::string const& err) const {
        EXPECT_EQ(platform.Out(), out);
        EXPECT_EQ(platform.Err(), err);
    }

    FakePlatform platform;
};

// The arguments of a test case that bears a name.
template <typename Case> std::string CaseName(::testing::TestParamInfo<Case> const& info) {
    return info.param.name;
}

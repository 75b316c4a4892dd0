// A user other than the one that runs the test. Only root can become one.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

constexpr uid_t otherUser = 65534;       // has the name "nobody" everywhere
constexpr uid_t userWithoutName = 59998; // the last but one of the ids of people

inline bool BecomeUser(uid_t user) {
    return setresgid(otherUser, otherUser, otherUser) == 0 && setresuid(user, user, user) == 0;
}

#define SKIP_UNLESS_ROOT()                                                                         \
    if (geteuid() != 0) {                                                                          \
        GTEST_SKIP() << "only root can become another user";                                       \
    }                                                                                              \
    static_assert(true)

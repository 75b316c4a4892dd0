// Cases for the places of a recorder's files.
#include "Root.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <bit>
#include <cstdlib>

using namespace workstation;

namespace {

class RootTest : public testing::Test {
protected:
    RootTest() {
        unsetenv("STREAMMGR_ROOT");
        unsetenv("XDG_STATE_HOME");
        setenv("HOME", "/home/driver", 1);
    }
    ~RootTest() override {
        unsetenv("STREAMMGR_ROOT");
        unsetenv("XDG_STATE_HOME");
        if (home_ != nullptr) {
            setenv("HOME", homeText_.c_str(), 1);
        } else {
            unsetenv("HOME");
        }
    }

private:
    char const* home_ = std::getenv("HOME");
    std::string homeText_ = home_ != nullptr ? home_ : "";
};

} // namespace

TEST_F(RootTest, OwnVariableComesFirst) {
    setenv("STREAMMGR_ROOT", "/srv/recorder", 1);
    setenv("XDG_STATE_HOME", "/state", 1);
    EXPECT_EQ(RootDirectory(), "/srv/recorder");
}

TEST_F(RootTest, StateHomeComesSecond) {
    setenv("XDG_STATE_HOME", "/state", 1);
    EXPECT_EQ(RootDirectory(), "/state/streammgr");
}

TEST_F(RootTest, HomeComesThird) {
    EXPECT_EQ(RootDirectory(), "/home/driver/.local/state/streammgr");
}

TEST_F(RootTest, EmptyVariablesCountAsUnset) {
    setenv("STREAMMGR_ROOT", "", 1);
    setenv("XDG_STATE_HOME", "", 1);
    EXPECT_EQ(RootDirectory(), "/home/driver/.local/state/streammgr");
}

TEST_F(RootTest, WithoutHomeTheUserDatabaseIsAsked) {
    passwd const* const user = getpwuid(getuid());
    std::string const home = user != nullptr ? user->pw_dir : "/";
    unsetenv("HOME");
    EXPECT_EQ(RootDirectory(), home + "/.local/state/streammgr");
    setenv("HOME", "", 1);
    EXPECT_EQ(RootDirectory(), home + "/.local/state/streammgr");
}

TEST_F(RootTest, FilesLieUnderTheRoot) {
    setenv("STREAMMGR_ROOT", "/srv/recorder", 1);
    EXPECT_EQ(PoolPath(), "/srv/recorder/pool");
    EXPECT_EQ(IpcDirectory(), "/srv/recorder/ipc");
    EXPECT_EQ(ProcessTablePath(), std::endian::native == std::endian::little
                                      ? "/srv/recorder/shm/process_table"
                                      : "/srv/recorder/shm/process_table.big-endian");
    EXPECT_EQ(DatabasePath(), "/srv/recorder/events.db");
}

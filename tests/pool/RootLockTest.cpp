// Who may own a recorder's directory.
#include "pool/RootLock.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/FailureOf.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

TEST(RootLock, DirectoryHasOneOwnerAtATime) {
    TestRoot const root;
    FileDescriptor owner = LockRoot();
    EXPECT_EQ(ErrorOf(LockRoot), EBUSY);
    EXPECT_EQ(FailureOf(LockRoot), "'" + root.Path() + "' is in use by a running stream manager");
    owner.Reset();
    EXPECT_EQ(ErrorOf(LockRoot), 0);
}

TEST(RootLock, DirectoryMustExist) {
    TestRoot const root;
    std::filesystem::remove_all(root.Path());
    EXPECT_EQ(ErrorOf(LockRoot), ENOENT);
    EXPECT_EQ(FailureOf(LockRoot), "cannot open '" + root.Path() + "': No such file or directory");
}

} // namespace
} // namespace workstation::pool

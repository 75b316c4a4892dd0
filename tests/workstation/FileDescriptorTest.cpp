// Cases for the owner of a file descriptor.
#include "FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <type_traits>

using workstation::FileDescriptor;

static_assert(!std::is_copy_constructible_v<FileDescriptor>);
static_assert(!std::is_copy_assignable_v<FileDescriptor>);

namespace {

int OpenNull() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}
bool IsOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) >= 0;
}

} // namespace

TEST(FileDescriptorTest, DefaultOneOwnsNothing) {
    FileDescriptor const none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none.Get(), -1);
}

TEST(FileDescriptorTest, DestructionClosesAndKeepsErrno) {
    int const number = OpenNull();
    {
        FileDescriptor const owner(number);
        EXPECT_TRUE(owner);
        EXPECT_TRUE(IsOpen(number));
        errno = ENOSPC;
    }
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(IsOpen(number));
}

TEST(FileDescriptorTest, MovingHandsTheDescriptorOver) {
    int const number = OpenNull();
    FileDescriptor first(number);
    FileDescriptor second(std::move(first));
    EXPECT_FALSE(first); // NOLINT(bugprone-use-after-move): a moved-from owner owns nothing
    int const former = OpenNull();
    FileDescriptor third(former);
    third = std::move(second);
    EXPECT_EQ(third.Get(), number);
    EXPECT_FALSE(IsOpen(former));
    EXPECT_TRUE(IsOpen(number));
}

TEST(FileDescriptorTest, ReleasedDescriptorStaysOpen) {
    int const number = OpenNull();
    {
        FileDescriptor owner(number);
        EXPECT_EQ(owner.Release(), number);
        EXPECT_FALSE(owner);
    }
    EXPECT_TRUE(IsOpen(number));
    close(number);
}

TEST(FileDescriptorTest, ResetClosesTheFormerOne) {
    int const number = OpenNull();
    FileDescriptor owner(number);
    owner.Reset();
    EXPECT_FALSE(owner);
    EXPECT_FALSE(IsOpen(number));
}

// What is sent to the disk before it is flushed.
#include "pool/WriteBehind.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <vector>

namespace workstation::pool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int watchedFile = 1001; // no file: what is sent ends here
constexpr std::uint64_t mebibyte = 1024 * 1024;

struct Sent {
    std::uint64_t from;
    std::uint64_t size;
    unsigned int flags;

    bool operator==(Sent const&) const = default;
};

std::ostream& operator<<(std::ostream& out, Sent const& sent) {
    return out << sent.from << " + " << sent.size << ", flags " << sent.flags;
}

std::vector<Sent> sent; // in the order of the calls

Sent Range(std::uint64_t from, std::uint64_t size) {
    return {from, size, SYNC_FILE_RANGE_WRITE};
}

} // namespace
} // namespace workstation::pool

// The linker leads this program's calls here (--wrap, see CMakeLists.txt).
// NOLINTBEGIN(bugprone-reserved-identifier): the linker prescribes these names.
extern "C" int __real_sync_file_range(int descriptor, off_t from, off_t size, unsigned int flags);

extern "C" int __wrap_sync_file_range(int descriptor, off_t from, off_t size, unsigned int flags) {
    using namespace workstation::pool;
    if (descriptor != watchedFile) {
        return __real_sync_file_range(descriptor, from, size, flags);
    }
    sent.push_back({static_cast<std::uint64_t>(from), static_cast<std::uint64_t>(size), flags});
    return -1; // a failure changes nothing
}
// NOLINTEND(bugprone-reserved-identifier)

namespace workstation::pool {
namespace {

class WriteBehindTest : public testing::Test {
protected:
    WriteBehindTest() { sent.clear(); }

    void Write(std::uint64_t offset, std::uint64_t size) {
        behind_.AfterWrite(watchedFile, offset, size);
    }

    WriteBehind behind_;
};

TEST_F(WriteBehindTest, LittleIsLeftToTheFlush) {
    Write(8192, 4 * mebibyte - 1);
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(WriteBehindTest, EachFourMebibytesAreSent) {
    for (std::uint64_t offset = 0; offset < 10 * mebibyte; offset += mebibyte) {
        Write(8192 + offset, mebibyte);
    }
    EXPECT_THAT(sent,
                ElementsAre(Range(8192, 4 * mebibyte), Range(8192 + 4 * mebibyte, 4 * mebibyte)));
}

TEST_F(WriteBehindTest, WritingElsewhereBeginsAgain) {
    Write(0, 3 * mebibyte);
    Write(100 * mebibyte, 3 * mebibyte);
    EXPECT_THAT(sent, IsEmpty());
    Write(103 * mebibyte, mebibyte);
    EXPECT_THAT(sent, ElementsAre(Range(100 * mebibyte, 4 * mebibyte)));
}

} // namespace
} // namespace workstation::pool

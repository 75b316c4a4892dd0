// d2b set: entries of the table.
#include "d2b/SetCommand.h"

#include <gtest/gtest.h>

#include <array>

#include "StreamFileAccess.h"
#include "support/FailureOf.h"
#include "support/SyncCalls.h"
#include "support/TestRoot.h"

namespace workstation::d2b {
namespace {

class SetTest : public testing::Test {
protected:
    SetTest() { root_.MakePool(2); }

    // The reason of a failure; empty on success.
    static std::string Set(int number, SetOptions const& options) {
        return FailureOf([&] { SetStreamFile(number, options); });
    }

    // Controller, database match, atomic readers, length.
    std::array<std::uint32_t, 4> Entry(int number) const {
        auto const image = pool::PoolImage::Open(root_.Pool());
        return {image->Get(number, pool::EntryWord::controller),
                image->Get(number, pool::EntryWord::dbMatch),
                image->Get(number, pool::EntryWord::atomicReaders),
                image->Get(number, pool::EntryWord::length)};
    }

    using EntryWords = std::array<std::uint32_t, 4>;

    TestRoot root_;
};

TEST_F(SetTest, EachValueIsSetAloneAndAllTogether) {
    EXPECT_EQ(Set(2, {98566144, {}, {}, {}}), "");
    EXPECT_EQ(Entry(2), (EntryWords{0, 0, 0, 98566144}));
    EXPECT_EQ(Set(2, {{}, 255, {}, {}}), "");
    EXPECT_EQ(Entry(2), (EntryWords{255, 0, 0, 98566144}));
    EXPECT_EQ(Set(2, {{}, {}, true, {}}), "");
    EXPECT_EQ(Entry(2), (EntryWords{255, 1, 0, 98566144}));
    EXPECT_EQ(Set(2, {{}, {}, {}, 0x7FFFFFFF}), "");
    EXPECT_EQ(Entry(2), (EntryWords{255, 1, 0x7FFFFFFF, 98566144}));
    EXPECT_EQ(Set(2, {1, 2, false, 3}), "");
    EXPECT_EQ(Entry(2), (EntryWords{2, 0, 3, 1}));
    EXPECT_EQ(Entry(1), (EntryWords{0, 0, 0, 0}));
}

TEST_F(SetTest, EntryIsDurable) {
    {
        SyncCalls const calls;
        EXPECT_EQ(Set(1, {5, {}, {}, {}}), "");
        EXPECT_EQ(calls.Names(), std::vector<std::string>{"msync"});
    }
    SyncCalls const calls("msync", EIO);
    EXPECT_EQ(Set(1, {5, {}, {}, {}}),
              "pool '" + root_.Pool() + "': cannot make the table durable: Input/output error");
}

TEST_F(SetTest, FileBeingWrittenIsBusy) {
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    StreamFileAccess const writer(1, false, StreamMgrFileMgmnt::ControlStream1);
    EXPECT_EQ(Set(1, {5, {}, {}, {}}), "stream file 1 is being written already");
    EXPECT_EQ(Entry(1), (EntryWords{2, 0, 0, 0}));
}

TEST_F(SetTest, NumberThatThePoolDoesNotHaveIsSaid) {
    EXPECT_EQ(Set(3, {5, {}, {}, {}}), "stream file 3: the pool has no such file; it has 2");
    EXPECT_EQ(Set(0, {5, {}, {}, {}}), "stream file 0: the pool has no such file; it has 2");
}

TEST_F(SetTest, MissingPoolIsSaid) {
    std::filesystem::remove(root_.Pool());
    EXPECT_EQ(Set(1, {5, {}, {}, {}}),
              "pool '" + root_.Pool() + "': cannot open: No such file or directory");
}

} // namespace
} // namespace workstation::d2b

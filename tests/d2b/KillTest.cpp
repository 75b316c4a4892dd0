// What a command leaves that is killed before it has made each of its changes durable.
#include <gtest/gtest.h>

#include "d2b/CheckPool.h"
#include "d2b/CreateCommand.h"
#include "d2b/LoadCommand.h"
#include "d2b/SetCommand.h"
#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/SyncCalls.h"
#include "support/TestRoot.h"

namespace workstation::d2b {
namespace {

constexpr std::uint32_t slot = 98566144;

// Runs `command` in a process that is killed at its first request to make something durable, at its
// second, and so on, until one comes to its end. `prepare` precedes each, `inspect` follows.
// Returns the number of kills.
template <typename Prepare, typename Command, typename Inspect>
int KillAtEach(Prepare prepare, Command command, Inspect inspect) {
    for (int kills = 0;; ++kills) {
        prepare();
        ChildProcess child([&] {
            SyncCalls calls;
            calls.KillAt(static_cast<std::size_t>(kills) + 1);
            command();
            return 0;
        });
        bool const hasEnded = child.Wait() == 0;
        SCOPED_TRACE("killed at call " + std::to_string(kills + 1));
        inspect();
        if (hasEnded) {
            return kills;
        }
    }
}

void ExpectNoDamage() {
    for (Finding const& finding : CheckPool(false)) {
        EXPECT_EQ(finding.kind, FindingKind::note) << finding.text;
    }
}

class KillTest : public testing::Test {
protected:
    std::uint32_t Length(int number) const {
        return pool::PoolImage::Open(root_.Pool())->Get(number, pool::EntryWord::length);
    }

    TestRoot root_;
};

TEST_F(KillTest, CreateLeavesNoPoolOrAWholeOne) {
    auto const inspect = [&] {
        if (std::filesystem::exists(root_.Pool())) {
            ExpectNoDamage();
            EXPECT_EQ(pool::PoolImage::Open(root_.Pool())->FileCount(), 3);
        }
    };
    EXPECT_EQ(KillAtEach([&] { std::filesystem::remove(root_.Pool()); },
                         [] {
                             CreatePool({3, false, false});
                         },
                         inspect),
              2);
}

TEST_F(KillTest, ReplacingCreateLeavesTheOldPoolOrTheNewOne) {
    auto const inspect = [&] {
        ExpectNoDamage();
        int const count = pool::PoolImage::Open(root_.Pool())->FileCount();
        EXPECT_TRUE(count == 2 || count == 3) << count;
    };
    EXPECT_EQ(KillAtEach([&] { root_.MakePool(2); },
                         [] {
                             CreatePool({3, false, true});
                         },
                         inspect),
              2);
}

TEST_F(KillTest, LoadLeavesTheOldLengthOrTheNewOne) {
    std::string const source = root_.Path() + "/source";
    std::ofstream(source) << std::string(1000, 's');
    auto const inspect = [&] {
        ExpectNoDamage();
        EXPECT_TRUE(Length(1) == 5 || Length(1) == 1000) << Length(1);
    };
    EXPECT_EQ(KillAtEach(
                  [&] {
                      root_.MakePool(1);
                      SetStreamFile(1, {5, {}, {}, {}});
                  },
                  [&] { LoadIntoPool(1, source); }, inspect),
              2);
}

TEST_F(KillTest, SetLeavesASoundTable) {
    EXPECT_EQ(KillAtEach([&] { root_.MakePool(1); },
                         [] {
                             SetStreamFile(1, {5, {}, true, 3});
                         },
                         ExpectNoDamage),
              1);
}

// Of three full slots the second is cut. However often the repair is interrupted, the next one
// brings the same pool about.
TEST_F(KillTest, RepairIsCompletedByTheNextOne) {
    auto const prepare = [&] {
        root_.MakePool(3);
        for (int number = 1; number <= 3; ++number) {
            SetStreamFile(number, {slot, {}, {}, {}});
        }
        std::filesystem::resize_file(root_.Pool(), 8192 + slot + 1000);
    };
    auto const inspect = [&] {
        for (Finding const& finding : CheckPool(true)) {
            EXPECT_NE(finding.kind, FindingKind::remains) << finding.text;
        }
        EXPECT_EQ(Length(1), slot);
        EXPECT_EQ(Length(2), 940U);
        EXPECT_EQ(Length(3), 0U);
    };
    EXPECT_EQ(KillAtEach(
                  prepare, [] { CheckPool(true); }, inspect),
              5);
}

TEST_F(KillTest, RepairOfAHeaderIsCompletedByTheNextOne) {
    auto const prepare = [&] {
        root_.MakePool(3);
        SetStreamFile(2, {1000, {}, {}, {}});
        WriteBytes(root_.Pool(), std::string(4096, 'X'), 0);
    };
    auto const inspect = [&] {
        for (Finding const& finding : CheckPool(true)) {
            EXPECT_NE(finding.kind, FindingKind::remains) << finding.text;
        }
        EXPECT_EQ(Length(2), 1000U);
    };
    EXPECT_EQ(KillAtEach(
                  prepare, [] { CheckPool(true); }, inspect),
              4);
}

} // namespace
} // namespace workstation::d2b

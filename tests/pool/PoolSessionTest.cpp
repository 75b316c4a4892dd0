// A session that a program owns, and the stream files that are opened in it.
#include "pool/PoolSession.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "pool/StreamFile.h"
#include "support/ChildProcess.h"
#include "support/FailureOf.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

class PoolSessionTest : public testing::Test {
protected:
    PoolSessionTest() { root_.MakePool(3); }

    // Whether any record of the process table is in use.
    bool AnyProcessIsListed() const {
        std::string const table = BytesOf(root_.ProcessTable());
        for (std::size_t record = sizeof(ProcessTableHeader); record < table.size();
             record += sizeof(ProcessRecord)) {
            if (table.substr(record, 4) != std::string(4, '\0')) {
                return true;
            }
        }
        return false;
    }

    std::uint32_t Controller(int number) const {
        return PoolImage::Open(root_.Pool())->Get(number, EntryWord::controller);
    }

    TestRoot root_;
    PoolSession session_;
};

TEST_F(PoolSessionTest, HasNoPoolUntilItIsLoaded) {
    EXPECT_EQ(session_.PoolIfLoaded(), nullptr);
    EXPECT_EQ(ErrorOf([&] { session_.Pool(); }), ENOENT);
    EXPECT_EQ(session_.Reap(), 0U);
    session_.Load(false);
    EXPECT_EQ(session_.Pool().FileCount(), 3);
    session_.Unload();
    EXPECT_EQ(session_.PoolIfLoaded(), nullptr);
    EXPECT_EQ(FailureOf([&] { session_.Pool(); }), "no pool is loaded");
}

TEST_F(PoolSessionTest, MissingPoolIsAFailure) {
    std::filesystem::remove(root_.Pool());
    EXPECT_EQ(ErrorOf([&] { session_.Load(true); }), ENOENT);
    EXPECT_EQ(session_.PoolIfLoaded(), nullptr);
}

TEST_F(PoolSessionTest, ListsTheProcessOnRequestUntilItIsDestroyed) {
    {
        PoolSession session;
        session.Load(false);
        EXPECT_FALSE(AnyProcessIsListed());
        session.Load(true);
        EXPECT_TRUE(AnyProcessIsListed());
    }
    EXPECT_FALSE(AnyProcessIsListed());
}

TEST_F(PoolSessionTest, SessionThatDidNotRegisterLeavesTheRecordOfAnother) {
    session_.Load(true);
    { PoolSession().Load(false); }
    EXPECT_TRUE(AnyProcessIsListed());
}

TEST_F(PoolSessionTest, FormerPoolStaysValidWhenAnotherIsLoaded) {
    session_.Load(true);
    PoolImage& former = session_.Pool();
    auto const file = StreamFile::OpenForWriting(session_, 1, StreamMgrFileMgmnt::ControlStream1);
    TestRoot const other;
    other.MakePool(5);
    session_.Load(true);
    EXPECT_EQ(session_.Pool().FileCount(), 5);
    EXPECT_EQ(former.FileCount(), 3);
    file->SetLength(7);
    EXPECT_EQ(former.Get(1, EntryWord::length), 7U);
}

TEST_F(PoolSessionTest, ReapResetsWhatADeadWriterLeft) {
    ChildProcess writer([](auto const& parent) {
        PoolSession session;
        session.Load(true);
        auto const file =
            StreamFile::OpenForWriting(session, 2, StreamMgrFileMgmnt::ControlStream3);
        parent.Tell();
        parent.Await();
        return 0;
    });
    ASSERT_TRUE(writer.Await());
    session_.Load(false);
    EXPECT_EQ(session_.Reap(), 0U);
    writer.Kill();
    EXPECT_EQ(Controller(2), 4U);
    EXPECT_EQ(session_.Reap(), 1U);
    EXPECT_EQ(Controller(2), 0U);
}

TEST_F(PoolSessionTest, KnownFilesAreMarked) {
    session_.Load(false);
    session_.Pool().MarkKnown(2, true);
    EXPECT_EQ(session_.Pool().Get(2, EntryWord::dbMatch), 1U);
    EXPECT_EQ(session_.Pool().Get(1, EntryWord::dbMatch), 0U);
    session_.Pool().MarkKnown(2, false);
    EXPECT_EQ(session_.Pool().Get(2, EntryWord::dbMatch), 0U);
}

TEST_F(PoolSessionTest, StreamFileIsOpenedInALoadedSessionOnly) {
    auto const open = [&] { StreamFile::OpenForReading(session_, 1); };
    EXPECT_EQ(FailureOf(open), "stream file 1: no pool is loaded");
    EXPECT_EQ(ErrorOf(open), ENOENT);
}

TEST_F(PoolSessionTest, OpeningForWritingMayBeTried) {
    constexpr auto controller = StreamMgrFileMgmnt::ControlStream2;
    session_.Load(true);
    auto const tryToOpen = [&](int number) {
        return StreamFile::TryOpenForWriting(session_, number, controller);
    };
    auto first = tryToOpen(2);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->Number(), 2);
    EXPECT_EQ(Controller(2), 3U);
    EXPECT_EQ(tryToOpen(2), nullptr) << "it is open";
    EXPECT_EQ(Controller(2), 3U);
    first.reset();
    EXPECT_NE(tryToOpen(2), nullptr);

    session_.Pool().Set(3, EntryWord::length, poolSlotSize + 1);
    EXPECT_EQ(tryToOpen(3), nullptr) << "its entry is damaged";

    EXPECT_EQ(ErrorOf([&] { tryToOpen(4); }), ENOENT);
    std::filesystem::remove(root_.Pool());
    EXPECT_EQ(ErrorOf([&] { tryToOpen(1); }), ENOENT);
}

TEST_F(PoolSessionTest, FailuresOfAStreamFileSayWhatIsWrong) {
    session_.Load(true);
    auto const file = StreamFile::OpenForWriting(session_, 1, StreamMgrFileMgmnt::ControlStream1);
    auto const busy = [&] {
        StreamFile::OpenForWriting(session_, 1, StreamMgrFileMgmnt::ControlStream1);
    };
    EXPECT_EQ(ErrorOf(busy), EBUSY);
    EXPECT_EQ(FailureOf(busy), "stream file 1 is being written already");
    auto const reader = StreamFile::OpenForReading(session_, 1);
    EXPECT_EQ(ErrorOf([&] { reader->SetLength(1); }), EBADF);
    EXPECT_EQ(FailureOf([&] { reader->SetLength(1); }), "stream file 1 is not open for writing");
    EXPECT_EQ(FailureOf([&] { file->Seek(-1); }), "stream file 1: byte -1 is outside the slot");
    EXPECT_EQ(ErrorOf([&] { file->SetLength(98566145); }), EINVAL);
    session_.Pool().Set(1, EntryWord::length, 98566145);
    auto const length = [&] { static_cast<void>(file->Length()); };
    EXPECT_EQ(FailureOf(length),
              "stream file 1: stated length 98566145 is beyond the slot of 98566144 bytes");
    EXPECT_EQ(ErrorOf(length), EUCLEAN);
}

} // namespace
} // namespace workstation::pool

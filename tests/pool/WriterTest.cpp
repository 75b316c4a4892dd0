// One writer at a time, and what a dead one leaves.
#include <gtest/gtest.h>
#include <signal.h>

#include <cerrno>
#include <thread>

#include "StreamFileAccess.h"
#include "pool/ProcessTable.h"
#include "pool/SeamSession.h"
#include "pool/WriterLock.h"
#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

class WriterTest : public testing::Test {
protected:
    WriterTest() {
        root_.MakePool(3);
        EXPECT_TRUE(pool_.InitializeFileAccess(false, true));
    }

    int Controller(int number) {
        StreamMgrFileMgmnt::FileMgmnt_t info{};
        EXPECT_TRUE(pool_.GetFileInfo(number, info));
        return info.writeController;
    }

    // 0, or errno.
    static int ErrorOfOpening(int number) {
        StreamFileAccess const file(number, false, StreamMgrFileMgmnt::ControlExternalProc);
        return const_cast<StreamFileAccess&>(file).IsOpen() ? 0 : errno;
    }

    // Opens a file for writing and waits for its end.
    static int WriteForEver(ChildProcess::Parent const& parent, int number) {
        StreamFileAccess pool;
        pool.InitializeFileAccess(false, true);
        StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlStream3);
        if (!file.IsOpen()) {
            return 1;
        }
        parent.Tell();
        parent.Await();
        return 0;
    }

    TestRoot root_;
    StreamFileAccess pool_;
};

TEST_F(WriterTest, ControllerIsSetWhileTheFileIsOpen) {
    for (int const controller : {1, 2, 3, 4, 5, 6, 7}) {
        {
            StreamFileAccess const file(2, false,
                                        static_cast<StreamMgrFileMgmnt::Control_t>(controller));
            EXPECT_EQ(Controller(1), 0);
            EXPECT_EQ(Controller(2), controller);
            EXPECT_EQ(Controller(3), 0);
        }
        EXPECT_EQ(Controller(2), 0);
    }
}

TEST_F(WriterTest, SecondWriterInTheProcessIsBusy) {
    StreamFileAccess const first(2, false, StreamMgrFileMgmnt::ControlStream1);
    EXPECT_EQ(ErrorOfOpening(2), EBUSY);
    EXPECT_EQ(Controller(2), StreamMgrFileMgmnt::ControlStream1);
    EXPECT_EQ(ErrorOfOpening(1), 0);
    EXPECT_EQ(ErrorOfOpening(3), 0);
    EXPECT_TRUE(StreamFileAccess(2, 0).IsOpen()) << "readers are welcome";
}

TEST_F(WriterTest, SecondWriterInAnotherThreadIsBusy) {
    StreamFileAccess const first(2, false, StreamMgrFileMgmnt::ControlStream1);
    int error = 0;
    std::thread([&] { error = ErrorOfOpening(2); }).join();
    EXPECT_EQ(error, EBUSY);
}

TEST_F(WriterTest, SecondWriterInAnotherProcessIsBusyUntilTheFirstCloses) {
    ChildProcess child([](auto const& parent) { return WriteForEver(parent, 2); });
    ASSERT_TRUE(child.Await());
    EXPECT_EQ(ErrorOfOpening(2), EBUSY);
    EXPECT_EQ(Controller(2), StreamMgrFileMgmnt::ControlStream3);
    EXPECT_EQ(SeamSession().Reap(), 0U);
    EXPECT_EQ(Controller(2), StreamMgrFileMgmnt::ControlStream3);
    child.Tell();
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(Controller(2), 0);
    EXPECT_EQ(ErrorOfOpening(2), 0);
}

TEST_F(WriterTest, OnlyOneOfManyWritersGetsTheFile) {
    std::atomic<int> writers = 0;
    std::atomic<int> busy = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                StreamFileAccess file(1, false, StreamMgrFileMgmnt::ControlExternalProc);
                if (file.IsOpen()) {
                    EXPECT_EQ(++writers, 1);
                    --writers;
                } else {
                    EXPECT_EQ(errno, EBUSY);
                    ++busy;
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(Controller(1), 0);
    EXPECT_LT(busy, 16 * 50);
}

TEST_F(WriterTest, KilledWriterIsReaped) {
    ChildProcess child([](auto const& parent) { return WriteForEver(parent, 2); });
    ASSERT_TRUE(child.Await());
    child.Kill();
    EXPECT_EQ(Controller(2), StreamMgrFileMgmnt::ControlStream3);
    EXPECT_EQ(SeamSession().Reap(), 1U);
    EXPECT_EQ(Controller(2), 0);
    EXPECT_EQ(SeamSession().Reap(), 0U);
}

TEST_F(WriterTest, KilledWriterDoesNotStopTheNext) {
    ChildProcess child([](auto const& parent) { return WriteForEver(parent, 2); });
    ASSERT_TRUE(child.Await());
    child.Kill();
    {
        StreamFileAccess next(2, false, StreamMgrFileMgmnt::ControlStream1);
        EXPECT_TRUE(next.IsOpen());
        EXPECT_EQ(SeamSession().Reap(), 1U);
        EXPECT_EQ(Controller(2), StreamMgrFileMgmnt::ControlStream1) << "it is a live one now";
    }
    EXPECT_EQ(Controller(2), 0);
}

TEST_F(WriterTest, KilledWriterIsPutRightByTheNextProcessThatRegisters) {
    ChildProcess writer([](auto const& parent) { return WriteForEver(parent, 3); });
    ASSERT_TRUE(writer.Await());
    writer.Kill();
    ChildProcess next([] {
        StreamFileAccess pool;
        pool.InitializeFileAccess(false, true);
        StreamMgrFileMgmnt::FileMgmnt_t info{};
        return pool.GetFileInfo(3, info) ? info.writeController : 99;
    });
    EXPECT_EQ(next.Wait(), 0);
}

TEST_F(WriterTest, UnloadResetsTheControllersOfThisProcessOnly) {
    ChildProcess other([](auto const& parent) { return WriteForEver(parent, 3); });
    ASSERT_TRUE(other.Await());
    StreamFileAccess const first(1, false, StreamMgrFileMgmnt::ControlStream1);
    StreamFileAccess const second(2, false, StreamMgrFileMgmnt::ControlExternalProc);
    pool_.Unload();
    ASSERT_TRUE(pool_.InitializeFileAccess(false, true));
    EXPECT_EQ(Controller(1), 0);
    EXPECT_EQ(Controller(2), 0);
    EXPECT_EQ(Controller(3), StreamMgrFileMgmnt::ControlStream3);
    EXPECT_EQ(ErrorOfOpening(1), EBUSY) << "the stream itself stays open";
}

TEST_F(WriterTest, ChildThatInheritsAWriterTakesNothingFromItsParent) {
    auto file = std::make_unique<StreamFileAccess>(2, false, StreamMgrFileMgmnt::ControlStream2);
    std::string const table = BytesOf(root_.ProcessTable());
    ChildProcess child([&] {
        file.reset();
        StreamFileAccess().Unload();
        return 0;
    });
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(Controller(2), StreamMgrFileMgmnt::ControlStream2);
    EXPECT_EQ(ErrorOfOpening(2), EBUSY);
    EXPECT_EQ(BytesOf(root_.ProcessTable()), table);
    file.reset();
    EXPECT_EQ(Controller(2), 0);
    EXPECT_EQ(ErrorOfOpening(2), 0);
}

TEST_F(WriterTest, AbandonedControllerIsDistinguishedFromALiveOne) {
    auto const image = PoolImage::Open(root_.Pool());
    image->Set(1, EntryWord::controller, 5);
    StreamFileAccess const live(2, false, StreamMgrFileMgmnt::ControlStream1);
    EXPECT_FALSE(HasWriter(*image, 1));
    EXPECT_TRUE(HasWriter(*image, 2));
    EXPECT_TRUE(ResetAbandonedController(*image, 1));
    EXPECT_FALSE(ResetAbandonedController(*image, 1));
    EXPECT_FALSE(ResetAbandonedController(*image, 2));
    EXPECT_FALSE(ResetAbandonedController(*image, 3));
    EXPECT_EQ(image->Get(1, EntryWord::controller), 0U);
    EXPECT_EQ(image->Get(2, EntryWord::controller), 2U);
}

} // namespace
} // namespace workstation::pool

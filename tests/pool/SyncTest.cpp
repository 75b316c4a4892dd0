// What is made durable, and what a disk that fails at it changes.
#include <gmock/gmock.h>

#include <array>
#include <cerrno>

#include "StreamFileAccess.h"
#include "pool/StreamFile.h"
#include "support/FailureOf.h"
#include "support/SyncCalls.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

using testing::ElementsAre;

class SyncTest : public testing::Test {
protected:
    SyncTest() {
        root_.MakePool(2);
        session_.Load(true);
    }

    std::unique_ptr<StreamFile> Writer() {
        return StreamFile::OpenForWriting(session_, 2, StreamMgrFileMgmnt::ControlStream1);
    }

    TestRoot root_;
    PoolSession session_;
};

TEST_F(SyncTest, BytesOfAStreamFileAreMadeDurableInOneCall) {
    auto const file = Writer();
    std::array<unsigned char, 188> const packet{};
    file->Write(packet.data(), packet.size());
    SyncCalls const calls;
    file->Sync();
    EXPECT_THAT(calls.Names(), ElementsAre("fdatasync"));
}

TEST_F(SyncTest, BytesThatCannotBeMadeDurableAreAFailure) {
    auto const file = Writer();
    SyncCalls const calls("fdatasync", EIO);
    EXPECT_EQ(FailureOf([&] { file->Sync(); }),
              "stream file 2: cannot make its bytes durable: Input/output error");
    EXPECT_EQ(ErrorOf([&] { file->Sync(); }), EIO);
}

TEST_F(SyncTest, TableIsMadeDurableAlone) {
    auto const image = PoolImage::Open(root_.Pool());
    image->Set(1, EntryWord::length, 188);
    SyncCalls const calls;
    image->SyncTable();
    EXPECT_THAT(calls.Names(), ElementsAre("msync"));
}

TEST_F(SyncTest, TableThatCannotBeMadeDurableIsAFailure) {
    auto const image = PoolImage::Open(root_.Pool());
    SyncCalls const calls("msync", ENOSPC);
    EXPECT_EQ(FailureOf([&] { image->SyncTable(); }),
              "pool '" + root_.Pool() +
                  "': cannot make the table durable: No space left on device");
    EXPECT_EQ(ErrorOf([&] { image->SyncTable(); }), ENOSPC);
}

TEST_F(SyncTest, LengthIsStatedAfterItsBytesAreDurable) {
    auto const file = Writer();
    SyncCalls const calls;
    file->SetLengthDurably(188);
    EXPECT_THAT(calls.Names(), ElementsAre("fdatasync", "msync"));
    EXPECT_EQ(file->Length(), 188U);
}

TEST_F(SyncTest, LengthOfBytesThatAreNotDurableIsNotStated) {
    auto const file = Writer();
    file->SetLength(5);
    SyncCalls const calls("fdatasync", EIO);
    EXPECT_EQ(ErrorOf([&] { file->SetLengthDurably(188); }), EIO);
    EXPECT_THAT(calls.Names(), ElementsAre("fdatasync"));
    EXPECT_EQ(file->Length(), 5U);
}

TEST_F(SyncTest, LengthOutsideTheSlotIsRefusedAndTheTableLeft) {
    auto const file = Writer();
    SyncCalls const calls;
    EXPECT_EQ(ErrorOf([&] { file->SetLengthDurably(0x5E00001); }), EINVAL);
    EXPECT_THAT(calls.Names(), ElementsAre("fdatasync"));
    EXPECT_EQ(file->Length(), 0U);
}

// The same through the seam, where the tool sets the length of what it inserted.
TEST_F(SyncTest, TruncateStatesNothingWhenTheDiskFails) {
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    StreamFileAccess file(1, false, StreamMgrFileMgmnt::ControlExternalProc);
    {
        SyncCalls const calls("fdatasync", ENOSPC);
        errno = 0;
        EXPECT_EQ(file.Truncate(188), -1);
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_EQ(file.DataLength(), 0);
    }
    {
        SyncCalls const calls("msync", EIO);
        errno = 0;
        EXPECT_EQ(file.Truncate(188), -1);
        EXPECT_EQ(errno, EIO);
    }
    SyncCalls const calls;
    EXPECT_EQ(file.Truncate(376), 0);
    EXPECT_THAT(calls.Names(), ElementsAre("fdatasync", "msync"));
    EXPECT_EQ(file.DataLength(), 376);
}

} // namespace
} // namespace workstation::pool

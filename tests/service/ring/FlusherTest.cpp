// What a recording keeps when it is cut off at any moment of a flush.
#include "service/ring/Flusher.h"

#include <cerrno>
#include <fstream>

#include "Failure.h"
#include "service/ring/InterruptedFile.h"
#include "service/ring/RecordedPool.h"
#include "service/ring/Recovery.h"
#include "support/SyncCalls.h"
#include "ts/SystemTickPacket.h"

using namespace ring_test;
using namespace workstation;
using namespace workstation::service::ring;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes TickPacket(std::uint32_t tick) {
    auto const packet =
        ts::EncodeSystemTick(2, StreamMetadata{tick, static_cast<int>(1000 + tick), {}}, tick);
    return {packet.begin(), packet.end()};
}

Bytes TickPackets(std::vector<std::uint32_t> const& ticks) {
    Bytes packets;
    for (std::uint32_t const tick : ticks) {
        auto const packet = TickPacket(tick);
        packets.insert(packets.end(), packet.begin(), packet.end());
    }
    return packets;
}

class FlusherTest : public RecordedPoolTest {
protected:
    FlusherTest() { file_ = files_.Take(1); }

    void Append(std::uint32_t tick) { file_->Append(TickPacket(tick), RangeOf(tick, tick), {}); }

    // The contents of the file as the next start of the service finds them.
    void Recover() {
        file_.reset();
        RecoverRecordings(parts_.Session(), parts_.Store());
    }

    store::RecordedFile Link() { return parts_.Store().Chain(1, true).at(0); }

    // Writes over a packet, as a disk does that lost it.
    void Damage(unsigned int packet) {
        Bytes const zeros(ts::tsPacketSize);
        std::fstream image(PoolPath(), std::ios::binary | std::ios::in | std::ios::out);
        image.seekp(
            static_cast<std::streamoff>(parts_.Pool().SlotOffset(1) + packet * ts::tsPacketSize));
        image.write(reinterpret_cast<char const*>(zeros.data()), ts::tsPacketSize);
    }

    std::unique_ptr<FileBeingRecorded> file_;
};

TEST_F(FlusherTest, LengthIsStatedAfterTheFlushOnly) {
    Append(5);
    EXPECT_EQ(parts_.Length(1), 0U);
    flusher_.Flush();
    EXPECT_EQ(parts_.Length(1), 188U);
    Append(6);
    EXPECT_EQ(parts_.Length(1), 188U);
}

TEST_F(FlusherTest, OneFlushServesAllFilesAndNoneIsMadeForNothing) {
    auto const second = files_.Take(2);
    Append(5);
    second->Append(TickPacket(9), RangeOf(9, 9), {});
    SyncCalls const calls;
    flusher_.Flush();
    flusher_.Flush();
    EXPECT_THAT(calls.Names(), ElementsAre("fdatasync"));
    EXPECT_THAT(parts_.Lengths(), ElementsAre(188, 188, 0));
}

TEST_F(FlusherTest, ThreadFlushesByItself) {
    flusher_.Start();
    for (unsigned int packets : {1U, 2U}) {
        Append(4 + packets);
        while (parts_.Length(1) != packets * 188) { // the test's time limit ends this
            std::this_thread::yield();
        }
    }
}

TEST_F(FlusherTest, NewFileIsSeenBeforeThePeriodIsOver) {
    Flusher slow(parts_.Pool(), std::chrono::hours(1));
    FileAllocator files(parts_.Session(), parts_.Store(), slow);
    slow.Start();
    for (int const stream : {2, 3}) {
        auto const file = files.Take(stream);
        file->Append(TickPacket(9), RangeOf(9, 9), {});
        while (parts_.Length(file->Number()) == 0) { // the test's time limit ends this
            std::this_thread::yield();
        }
        file->Finish();
    }
}

// The table is flushed with the next flush only: the mark stands for it.
TEST_F(FlusherTest, FlushedBytesAreKeptThoughTheTableDoesNotStateThem) {
    Append(5);
    flusher_.Flush();
    Append(6);
    flusher_.Flush();
    parts_.Pool().Set(1, pool::EntryWord::length, 0);
    Recover();
    EXPECT_EQ(Link(), (store::RecordedFile{Link().id, 1, 1, 1005, 1006, 5, 6, 376, true, false}));
    EXPECT_EQ(parts_.Length(1), 376U);
}

TEST_F(FlusherTest, FlushThatWasCutOffKeepsTheOneBefore) {
    for (std::uint32_t tick : {5U, 6U, 7U}) {
        Append(tick);
        flusher_.Flush();
    }
    parts_.Pool().Set(1, pool::EntryWord::length, 188); // after the first flush
    Damage(2);                                          // of the last flush
    Recover();
    EXPECT_EQ(parts_.Length(1), 376U);
    EXPECT_EQ(Link().lastTick, 6U);
}

// The kernel has what was written, whatever becomes of the process.
TEST_F(FlusherTest, AfterAKillWhatNoFlushCoversIsKept) {
    Append(5);
    flusher_.Flush();
    Append(6);
    Append(7);
    Recover();
    EXPECT_EQ(parts_.Length(1), 564U);
    EXPECT_EQ(Link().lastTick, 7U);
}

TEST_F(FlusherTest, BytesThatNoFlushMadeDurableAreNotKept) {
    Append(5);
    flusher_.Flush();
    Append(6);
    Append(7);
    Damage(1);
    Recover();
    EXPECT_EQ(parts_.Length(1), 188U);
    EXPECT_EQ(Link().lastTick, 5U);
}

TEST_F(FlusherTest, MarkOfAnEarlierRecordingIsNotUsed) {
    Append(5);
    flusher_.Flush();
    file_->Finish();
    file_.reset();
    parts_.Store().Wipe(Link().id);
    parts_.Pool().Set(1, pool::EntryWord::length, 0);
    parts_.Pool().MarkKnown(1, false);
    auto const link = parts_.Store().BeginFile(1, 1, 2000, 100); // nothing was written
    Recover();
    EXPECT_EQ(parts_.Length(1), 0U);
    EXPECT_NE(Link().id, *link);
}

TEST_F(FlusherTest, RecoveryThatIsRepeatedChangesNothing) {
    Append(5);
    flusher_.Flush();
    parts_.Pool().Set(1, pool::EntryWord::length, 0);
    Recover();
    auto const chain = parts_.Store().Chain(1, true);
    Recover();
    EXPECT_EQ(parts_.Store().Chain(1, true), chain);
    EXPECT_EQ(parts_.Contents(1), TickPacket(5));
}

TEST_F(FlusherTest, FlushThatFailsForAWhileLosesNothing) {
    Append(5);
    flusher_.Flush();
    Append(6);
    {
        SyncCalls const calls("fdatasync", EIO);
        EXPECT_EQ(flusher_.Problem(), "");
        flusher_.Flush();
        Append(7);
        flusher_.Flush();
        EXPECT_EQ(flusher_.Problem(), "cannot make recordings durable: Input/output error");
    }
    EXPECT_EQ(parts_.Length(1), 188U);
    Append(8);
    flusher_.Flush();
    EXPECT_EQ(flusher_.Problem(), "");
    EXPECT_EQ(parts_.Contents(1), TickPackets({5, 6, 7, 8}));
    EXPECT_THAT(parts_.Log(), ElementsAre("cannot make recordings durable: Input/output error",
                                          "recordings are durable again, 0 bytes were lost"));
}

TEST_F(FlusherTest, KillWhileFlushesFailLosesNothing) {
    Append(5);
    flusher_.Flush();
    Append(6);
    {
        SyncCalls const calls("fdatasync", EIO);
        flusher_.Flush();
        Append(7);
    }
    Recover();
    EXPECT_EQ(parts_.Contents(1), TickPackets({5, 6, 7}));
}

// What the kernel no longer has after the failure cannot be recorded.
TEST_F(FlusherTest, WhatAFailedFlushLostIsGivenUp) {
    Append(5);
    flusher_.Flush();
    Append(6);
    Append(7);
    Damage(1);
    {
        SyncCalls const calls("fdatasync", EIO);
        flusher_.Flush();
    }
    Append(8);
    flusher_.Flush();
    EXPECT_EQ(parts_.Contents(1), TickPackets({5, 8}));
    file_->Finish();
    EXPECT_EQ(Link().lastTick, 8U);
    EXPECT_EQ(Link().size, 376U);
    EXPECT_THAT(parts_.Log(), ElementsAre("cannot make recordings durable: Input/output error",
                                          "recordings are durable again, 376 bytes were lost"));
}

TEST_F(FlusherTest, WhatWasGivenUpIsNotFoundAgain) {
    Append(5);
    flusher_.Flush();
    Append(6);
    Append(7);
    Damage(1);
    {
        SyncCalls const calls("fdatasync", EIO);
        flusher_.Flush();
    }
    Recover();
    EXPECT_EQ(parts_.Contents(1), TickPacket(5));
}

TEST_F(FlusherTest, FileIsNotFinishedWhileItsBytesAreNotDurable) {
    Append(5);
    {
        SyncCalls const calls("fdatasync", EIO);
        EXPECT_THROW(file_->Finish(), Failure);
        EXPECT_FALSE(Link().finished);
    }
    file_->Finish();
    EXPECT_TRUE(Link().finished);
    EXPECT_EQ(parts_.Contents(1), TickPacket(5));
}

TEST_F(FlusherTest, FileIsFinishedAfterItsBytesAndItsLengthAreDurable) {
    Append(5);
    SyncCalls const calls;
    file_->Finish();
    EXPECT_THAT(calls.Names(), ElementsAre("fdatasync", "msync"));
}

TEST_F(FlusherTest, FileIsNotFinishedWhileItsLengthIsNotDurable) {
    Append(5);
    {
        SyncCalls const calls("msync", EIO);
        EXPECT_THROW(file_->Finish(), Failure);
        EXPECT_FALSE(Link().finished);
    }
    file_->Finish();
    EXPECT_TRUE(Link().finished);
    EXPECT_TRUE(parts_.IsKnown(1));
}

// --- first ticks ---

TEST_F(FlusherTest, FileThatBeginsWithoutATickGetsItsOwnWhenItComes) {
    file_->Append(Packets(3), std::nullopt, {4, 1004});
    EXPECT_EQ(Link().firstTick, 4U);
    Append(5);
    EXPECT_EQ(Link().firstTick, 5U);
    Append(6);
    file_->Finish();
    EXPECT_EQ(Link(), (store::RecordedFile{Link().id, 1, 1, 1004, 1006, 5, 6, 940, true, false}));
}

TEST_F(FlusherTest, RecordingThatBeganWithoutATickIsKeptAfterAKill) {
    file_->Append(Packets(3), std::nullopt, {4, 1004});
    flusher_.Flush();
    Recover();
    EXPECT_EQ(Link(), (store::RecordedFile{Link().id, 1, 1, 1004, 1004, 4, 4, 564, true, false}));
    EXPECT_EQ(parts_.Contents(1), Packets(3));
}

TEST_F(FlusherTest, FileOfATickThatWasGivenUpHasTheOneBefore) {
    file_->Append(Packets(3), std::nullopt, {4, 1004});
    flusher_.Flush();
    Append(5);
    Damage(3);
    {
        SyncCalls const calls("fdatasync", EIO);
        flusher_.Flush();
    }
    file_->Finish();
    EXPECT_EQ(Link().firstTick, 4U);
    EXPECT_EQ(Link().lastTick, 4U);
}

} // namespace

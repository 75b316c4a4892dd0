// What is announced to the kernel ahead of a reader. What the kernel makes of it is its own affair:
// it may drop an announcement, and what it has fetched, whenever memory is short.
#include "pool/ReadAhead.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <ostream>
#include <vector>

#include "FileDescriptor.h"
#include "pool/StreamFile.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

constexpr unsigned int chunk = 192512;
constexpr std::uint64_t page = 4096;
constexpr std::uint64_t kibibyte = 1024;
constexpr std::uint64_t mebibyte = 1024 * kibibyte;
constexpr std::uint64_t step = 512 * kibibyte;
constexpr int announcedFile = 1000; // no file: its announcements end here
bool isRecordingAll = false;        // for real files too, as if the kernel read nothing ahead

struct Advice {
    std::uint64_t from;
    std::uint64_t size;
    int kind;

    bool operator==(Advice const&) const = default;
};

std::ostream& operator<<(std::ostream& out, Advice const& advice) {
    return out << (advice.kind == POSIX_FADV_RANDOM ? "random " : "will need ") << advice.from
               << " + " << advice.size;
}

std::vector<Advice> given; // in the order of the calls

Advice NoneOfTheKernelsOwn() {
    return {0, 0, POSIX_FADV_RANDOM};
}

Advice Announced(std::uint64_t from, std::uint64_t size) {
    return {from, size, POSIX_FADV_WILLNEED};
}

} // namespace
} // namespace workstation::pool

// The linker leads this program's calls here (--wrap, see CMakeLists.txt).
// NOLINTBEGIN(bugprone-reserved-identifier): the linker prescribes these names.
extern "C" int __real_posix_fadvise64(int descriptor, off_t from, off_t size, int kind);

extern "C" int __wrap_posix_fadvise64(int descriptor, off_t from, off_t size, int kind) {
    using namespace workstation::pool;
    if (descriptor != announcedFile && !isRecordingAll) {
        return __real_posix_fadvise64(descriptor, from, size, kind);
    }
    given.push_back({static_cast<std::uint64_t>(from), static_cast<std::uint64_t>(size), kind});
    return 0;
}

// KernelReadAhead: a file of the tests may lie on a device with a long read-ahead.
extern "C" std::uint64_t __real__ZN11workstation4pool15KernelReadAheadEi(int descriptor);

extern "C" std::uint64_t __wrap__ZN11workstation4pool15KernelReadAheadEi(int descriptor) {
    return workstation::pool::isRecordingAll
               ? 0
               : __real__ZN11workstation4pool15KernelReadAheadEi(descriptor);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace workstation::pool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ReadAheadTest : public testing::Test {
protected:
    ReadAheadTest() { given.clear(); }

    // What is announced before one read of a chunk.
    static std::vector<Advice> AtRead(ReadAhead& readAhead, std::uint64_t offset,
                                      std::uint64_t end) {
        given.clear();
        readAhead.BeforeRead(announcedFile, offset, std::min<std::uint64_t>(chunk, end - offset),
                             end);
        return given;
    }
};

TEST_F(ReadAheadTest, FirstReadAnnouncesNothing) {
    ReadAhead readAhead(0);
    EXPECT_THAT(AtRead(readAhead, 0, 16 * mebibyte), ElementsAre(NoneOfTheKernelsOwn()));
}

TEST_F(ReadAheadTest, WindowIsAnnouncedInStepsOnceTheReaderReadsOn) {
    ReadAhead readAhead(0);
    AtRead(readAhead, 0, 16 * mebibyte);
    EXPECT_THAT(AtRead(readAhead, chunk, 16 * mebibyte),
                ElementsAre(Announced(0, step), Announced(step, step), Announced(2 * step, step),
                            Announced(3 * step, step), Announced(4 * step, step),
                            Announced(5 * step, step), Announced(6 * step, step),
                            Announced(7 * step, step)));
}

TEST_F(ReadAheadTest, NextStepIsAnnouncedWhenTheWindowHasMovedByOne) {
    ReadAhead readAhead(0);
    AtRead(readAhead, 0, 16 * mebibyte);
    AtRead(readAhead, chunk, 16 * mebibyte);
    // The window ends at 4 MiB plus what has been read: 577,536 bytes are the first beyond a step.
    EXPECT_THAT(AtRead(readAhead, 2 * chunk, 16 * mebibyte),
                ElementsAre(Announced(8 * step, step)));
    EXPECT_THAT(AtRead(readAhead, 3 * chunk, 16 * mebibyte), IsEmpty());
    EXPECT_THAT(AtRead(readAhead, 4 * chunk, 16 * mebibyte), IsEmpty());
    EXPECT_THAT(AtRead(readAhead, 5 * chunk, 16 * mebibyte),
                ElementsAre(Announced(9 * step, step)));
}

TEST_F(ReadAheadTest, EveryByteIsAnnouncedOnceAndBeforeItIsRead) {
    constexpr std::uint64_t end = 16 * mebibyte + page + 1;
    ReadAhead readAhead(0);
    std::uint64_t announced = 0;
    for (std::uint64_t at = 0; at < end; at += chunk) {
        for (Advice const& advice : AtRead(readAhead, at, end)) {
            if (advice.kind == POSIX_FADV_WILLNEED) {
                EXPECT_EQ(advice.from, announced);
                announced += advice.size;
            }
        }
        if (at > 0) {
            EXPECT_GE(announced, std::min(end, at + chunk));
        }
    }
    EXPECT_EQ(announced, end);
}

TEST_F(ReadAheadTest, LastStepStopsAtTheEnd) {
    constexpr std::uint64_t end = mebibyte + page;
    ReadAhead readAhead(0);
    AtRead(readAhead, 0, end);
    EXPECT_THAT(AtRead(readAhead, chunk, end),
                ElementsAre(Announced(0, step), Announced(step, step), Announced(2 * step, page)));
    EXPECT_THAT(AtRead(readAhead, 2 * chunk, end), IsEmpty());
}

TEST_F(ReadAheadTest, FileOfOneChunkIsAnnouncedWhole) {
    ReadAhead readAhead(0);
    EXPECT_THAT(AtRead(readAhead, 0, 1000), ElementsAre(NoneOfTheKernelsOwn(), Announced(0, 1000)));
}

TEST_F(ReadAheadTest, AnotherPositionBeginsAgain) {
    ReadAhead readAhead(0);
    AtRead(readAhead, 8 * mebibyte, 16 * mebibyte);
    AtRead(readAhead, 8 * mebibyte + chunk, 16 * mebibyte);
    EXPECT_THAT(AtRead(readAhead, 0, mebibyte), ElementsAre(NoneOfTheKernelsOwn()));
    EXPECT_THAT(AtRead(readAhead, chunk, mebibyte),
                ElementsAre(Announced(0, step), Announced(step, step)));
}

TEST_F(ReadAheadTest, NothingIsAnnouncedWhereTheKernelReadsFarAhead) {
    ReadAhead readAhead(mebibyte);
    for (std::uint64_t at = 0; at < 16 * mebibyte; at += chunk) {
        EXPECT_THAT(AtRead(readAhead, at, 16 * mebibyte), IsEmpty());
    }
}

TEST(KernelReadAhead, IsTheDefaultWhereThereIsNoDevice) {
    FileDescriptor const memory(memfd_create("memory", MFD_CLOEXEC));
    EXPECT_EQ(KernelReadAhead(memory.Get()), 128U * 1024);
    EXPECT_EQ(KernelReadAhead(-1), 128U * 1024);
}

TEST(KernelReadAhead, IsAWholeNumberOfPages) {
    FileDescriptor const file(open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    std::uint64_t const size = KernelReadAhead(file.Get());
    EXPECT_GT(size, 0U);
    EXPECT_EQ(size % page, 0U);
}

class StreamFileReadAheadTest : public testing::Test {
protected:
    StreamFileReadAheadTest() {
        root_.MakePool(3);
        session_.Load(true);
        session_.Pool().Set(2, EntryWord::length, length);
        given.clear();
        isRecordingAll = true;
    }
    ~StreamFileReadAheadTest() override { isRecordingAll = false; }

    // Where the announcements end that two reads of a chunk cause, in bytes from the start of the
    // slot.
    std::uint64_t EndOfAnnouncements(long offset, bool unbounded) {
        auto const file = StreamFile::OpenForReading(session_, 2);
        std::vector<unsigned char> buffer(chunk);
        file->Seek(offset);
        file->Read(buffer.data(), chunk, unbounded);
        file->Read(buffer.data(), chunk, unbounded);
        return given.empty() ? 0 : given.back().from + given.back().size - SlotOffset();
    }

    static constexpr std::uint32_t length = 1000000;

private:
    std::uint64_t SlotOffset() const { return session_.Pool().SlotOffset(2); }

    TestRoot root_;
    PoolSession session_;
};

TEST_F(StreamFileReadAheadTest, BoundedReadAnnouncesUpToTheStatedLength) {
    EXPECT_EQ(EndOfAnnouncements(0, false), length);
}

TEST_F(StreamFileReadAheadTest, UnboundedReadAnnouncesBeyondTheStatedLength) {
    EXPECT_EQ(EndOfAnnouncements(0, true), 8 * step);
}

TEST_F(StreamFileReadAheadTest, UnboundedReadAnnouncesUpToTheEndOfTheSlot) {
    EXPECT_EQ(EndOfAnnouncements(long{poolSlotSize} - 3 * long{chunk}, true), poolSlotSize);
}

} // namespace
} // namespace workstation::pool

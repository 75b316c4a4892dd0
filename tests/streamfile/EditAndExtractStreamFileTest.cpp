// Copies of a stream file with a range of ticks cut out.
#include "streamfile/EditAndExtractStreamFile.h"

#include <filesystem>

#include "ChunkOfTen.h"
#include "StreamFileAccess.h"
#include "TickFileTest.h"

namespace {

// What is cut out, and what is expected to be left: the bytes [0, prologEnd) and [epilogStart,
// end).
struct Cut {
    int firsttick;
    int lasttick;
    long prologEnd;
    long epilogStart;
    std::string output; // name of the file

    // The whole file has this many bytes.
    long EpilogSize(long fileSize) const { return lasttick == 0 ? 0 : fileSize - epilogStart; }
};

// One edit of stream file 5. The size begins with a value that shows whether it was touched.
class EditTest : public TickFileTest {
protected:
    static constexpr int number = 5;
    static constexpr long untouched = -7;
    static constexpr long length = 12 * chunk + 300;
    static constexpr int scanReads = 13; // come before those of the copy

    // Tick 100 stands within the third chunk, 200 at the start of the ninth, 300 far from both.
    static TickTable Table() {
        return {Entry(0, 50, 1), Entry(2 * chunk + 188, 100, 2), Entry(8 * chunk, 200, 3),
                Entry(12 * chunk + 112, 300, 4)};
    }
    static Cut Cut100To200() { return {100, 200, 2 * chunk + 188, 8 * chunk, "5.100-200.ts"}; }

    EditTest() {
        platform.AddStreamFiles({number}, length);
        platform.pool.tickTables = {Table()};
    }

    bool Edit(int firsttick, int lasttick, bool unbounded = false) {
        return EditAndExtractStreamFile(number, fileSize, bytesCount, unbounded, firsttick,
                                        lasttick);
    }
    bool Edit(Cut const& cut, bool unbounded = false) {
        return Edit(cut.firsttick, cut.lasttick, unbounded);
    }

    void ExpectCounters(long expectedFileSize, long expectedBytesCount) const {
        EXPECT_EQ(fileSize, expectedFileSize);
        EXPECT_EQ(bytesCount, expectedBytesCount);
    }

    // ------------------------------------------------------------------ what is printed
    static long Chunks(long size) { return std::max(1L, (size + chunk - 1) / chunk); }

    static std::string CalledLine() { return "EditAndExtractStreamFile() was called.\n"; }
    static std::string OutOfScan(long size = length) {
        return CalledLine() + Marks(Chunks(size)) + "\n";
    }
    static std::string OutOfCut(Cut const& cut, long size = length) {
        auto const shown = [](int tick) { return tick == 0 ? "" : Show(tick); };
        return "firsttick_ = " + Show(cut.firsttick) +
               "\nfirsttickoffset = " + Show(cut.prologEnd) +
               "\nprologsize = " + Show(cut.prologEnd) + "\nfirsttickstr = [" +
               shown(cut.firsttick) + "]\nlasttick_ = " + Show(cut.lasttick) +
               "\nlasttickoffset = " + Show(cut.epilogStart) +
               "\nepilogsize = " + Show(cut.EpilogSize(size)) + "\nlasttickstr = [" +
               shown(cut.lasttick) + "]\n";
    }
    std::string OutOfCopying(Cut const& cut) const {
        std::string const path = platform.HardDisk(cut.output);
        return "Copying requested stream file to '" + path + "'\nCopy prolog of '" + path + "'\n";
    }
    std::string OutToProlog(Cut const& cut, long size = length) const {
        return OutOfScan(size) + OutOfCut(cut, size) + OutOfCopying(cut);
    }

    // ------------------------------------------------------------------ what is called
    // A phase of nothing still makes a pass.
    static std::string PhaseCalls(Cut const& cut, long size, bool unbounded = false) {
        return size == 0 ? ReadCall(number, 0, unbounded) + WriteCall(cut.output, 0)
                         : CopyCalls(number, size, cut.output, unbounded);
    }
    static std::string CallsToProlog(Cut const& cut, long size = length, bool unbounded = false) {
        return ScanCalls(number, size, unbounded) + OpenCall(number) +
               (unbounded ? "" : LengthCall(number)) + CreateCall(cut.output);
    }
    static std::string SeekCall(Cut const& cut) {
        return FileCall(number, "Seek(" + Show(cut.epilogStart) + ")");
    }
    static std::string CallsAfterPhases(Cut const& cut) {
        return CloseCall(cut.output) + CloseCall(number);
    }

    static std::string Content(long from, long to) {
        return StreamFileContent(number, from, to - from);
    }
    static std::string ContentAfter(Cut const& cut, long size = length) {
        return Content(0, cut.prologEnd) + Content(size - cut.EpilogSize(size), size);
    }

    // Everything about an edit that succeeds.
    void ExpectEdit(Cut const& cut, bool unbounded = false) {
        long const size = unbounded ? slot : length;
        long const epilogSize = cut.EpilogSize(size);
        EXPECT_TRUE(Edit(cut, unbounded));
        ExpectCounters(size, size + cut.prologEnd + epilogSize);
        ExpectOutput(OutToProlog(cut, size) + Marks(Chunks(cut.prologEnd)) +
                         Marks(Chunks(epilogSize)) + "\n",
                     "");
        EXPECT_EQ(platform.Calls(), CallsToProlog(cut, size, unbounded) +
                                        PhaseCalls(cut, cut.prologEnd, unbounded) + SeekCall(cut) +
                                        PhaseCalls(cut, epilogSize, unbounded) +
                                        CallsAfterPhases(cut));
        ExpectOnHardDisk(cut.output, ContentAfter(cut, size));
    }

    long fileSize = untouched;
    long bytesCount = 0;
};

// ---------------------------------------------------------------------- edits that succeed

struct CutCase : NamedCase {
    Cut cut;
};

class EditOfRange : public EditTest, public ::testing::WithParamInterface<CutCase> {};

TEST_P(EditOfRange, LeavesWhatLiesAroundIt) {
    ExpectEdit(GetParam().cut);
}

INSTANTIATE_TEST_SUITE_P(
    Range, EditOfRange,
    ::testing::Values(
        CutCase{{"BothTicks"}, {100, 200, 2 * aChunk + 188, 8 * aChunk, "5.100-200.ts"}},
        CutCase{{"NoFirstTick"}, {0, 200, 0, 8 * aChunk, "5.-200.ts"}},
        CutCase{{"NoLastTick"}, {200, 0, 8 * aChunk, 12 * aChunk + 300, "5.200-.ts"}},
        CutCase{{"NoTickAtAll"}, {0, 0, 0, 12 * aChunk + 300, "5.-.ts"}},
        CutCase{{"FirstTickAtTheStart"}, {50, 300, 0, 12 * aChunk + 112, "5.50-300.ts"}},
        CutCase{{"LastTickAtTheStart"}, {0, 50, 0, 0, "5.-50.ts"}},
        CutCase{{"SameTickTwice"}, {200, 200, 8 * aChunk, 8 * aChunk, "5.200-200.ts"}},
        CutCase{{"LastTickBeforeTheFirst"},
                {300, 100, 12 * aChunk + 112, 2 * aChunk + 188, "5.300-100.ts"}}),
    NameOfCase());

TEST_F(EditTest, UnboundedEditTakesTheWholeSlotWithoutAskingForALength) {
    ExpectEdit({100, 200, 2 * chunk + 188, 8 * chunk, "5.100-200.ts"}, true);
}

TEST_F(EditTest, NegativeTickFindsTheLargeOneOfTheSameBits) {
    platform.pool.tickTables = {{Entry(188, 4294967291U, 1), Entry(376, 7, 1)}};
    ExpectEdit({-5, 7, 188, 376, "5.-5-7.ts"});
}

TEST_F(EditTest, FirstOfTheEntriesWithThatTickCounts) {
    platform.pool.tickTables = {{Entry(188, 100, 1), Entry(chunk, 100, 2), Entry(2 * chunk, 200, 3),
                                 Entry(3 * chunk, 200, 4)}};
    ExpectEdit({100, 200, 188, 2 * chunk, "5.100-200.ts"});
}

TEST_F(EditTest, TableOfOneEntryServesBothEnds) {
    platform.pool.tickTables = {{Entry(chunk + 188, 100, 1)}};
    ExpectEdit({100, 100, chunk + 188, chunk + 188, "5.100-100.ts"});
}

TEST_F(EditTest, OutputComesBetweenTheCallsThatItSpeaksOf) {
    Cut const cut = Cut100To200();
    EXPECT_TRUE(Edit(cut));
    std::string const trace = platform.Recorded().Trace();
    EXPECT_EQ(trace.find("out " + Show(CalledLine()) + "\n" + initializeCall), 0U);
    EXPECT_NE(trace.find(LengthCall(number) + "out " + Show(OutOfCut(cut)) + "\n" +
                         CreateCall(cut.output) + "out " + Show(OutOfCopying(cut)) + "\n" +
                         ReadCall(number, chunk)),
              std::string::npos);
    EXPECT_NE(trace.find("out \"\\n\"\n" + CallsAfterPhases(cut)), std::string::npos);
}

TEST_F(EditTest, BytesCountIsAddedToAndWrapsAt32Bits) {
    Cut const cut = Cut100To200();
    long const moved = length + cut.prologEnd + cut.EpilogSize(length);
    bytesCount = 2147483647L;
    EXPECT_TRUE(Edit(cut));
    ExpectCounters(length, -2147483647L - 1 + moved - 1);
}

TEST_F(EditTest, LongerFileOfThatNameIsReplaced) {
    Cut const cut = Cut100To200();
    PutOnHardDisk(cut.output, std::string(static_cast<std::size_t>(length), 'x'));
    ExpectEdit(cut);
}

// ---------------------------------------------------------------------- failures before the copy

// What ends the scan: a call that fails.
struct ScanFailure : NamedCase {
    std::string call;
    int ordinal;
    Answer answer;
    std::string err;
    long scanned; // bytes read before it
    bool isPlanned;
};

class EditWithAFailingScan : public EditTest, public ::testing::WithParamInterface<ScanFailure> {
protected:
    // The calls up to the one that fails, and what is closed after it.
    static std::string CallsOfScan() {
        std::string const& last = GetParam().call;
        std::string calls = initializeCall;
        if (last == "InitializeFileAccess") {
            return calls;
        }
        calls += "pool.GetFilePoolSize()\n";
        if (last == "GetFilePoolSize") {
            return calls;
        }
        calls += OpenCall(number);
        if (last == "OpenStreamFile") {
            return calls;
        }
        calls += LengthCall(number);
        if (last == "Read") {
            calls += ReadCalls(number, GetParam().scanned) +
                     ReadCall(number, std::min(chunk, length - GetParam().scanned));
        }
        return calls + CloseCall(number);
    }
};

TEST_P(EditWithAFailingScan, SaysWhyCountsWhatWasReadAndCreatesNothing) {
    ScanFailure const& row = GetParam();
    platform.Script(row.call, row.ordinal, row.answer);
    bytesCount = 1000;
    EXPECT_FALSE(Edit(Cut100To200()));
    ExpectOutput(CalledLine() + Marks(row.scanned / chunk),
                 row.err + "\nError getting the System Ticks for TS file:5\n");
    ExpectCounters(row.isPlanned ? length : untouched, 1000 + row.scanned);
    EXPECT_EQ(platform.Calls(), CallsOfScan());
    EXPECT_TRUE(std::filesystem::is_empty(platform.HardDisk("")));
}

std::string const scanReadError = "Unexpected read status: " + ErrnoText(EIO);
std::string const lengthError = "error getting length of File number 5, Error: " + ErrnoText(EIO);

INSTANTIATE_TEST_SUITE_P(
    At, EditWithAFailingScan,
    ::testing::Values(
        ScanFailure{{"Initialize"},
                    "InitializeFileAccess",
                    1,
                    {0},
                    "can not proceed without fileAccess initialized",
                    0,
                    false},
        ScanFailure{{"PoolSize"}, "GetFilePoolSize", 1, {4}, "File number is invalid: 5", 0, false},
        ScanFailure{{"Open"},
                    "OpenStreamFile",
                    1,
                    Fail(EIO),
                    "could not open stream file: " + ErrnoText(EIO),
                    0,
                    false},
        ScanFailure{{"Length"}, "DataLength", 1, Fail(EIO), lengthError, 0, false},
        ScanFailure{{"NoLength"},
                    "DataLength",
                    1,
                    {0},
                    "Stream file number 5 is a zero-length file.",
                    0,
                    false},
        ScanFailure{{"FirstRead"}, "Read", 1, Fail(EIO), scanReadError, 0, true},
        ScanFailure{{"MiddleRead"}, "Read", 9, Fail(EIO), scanReadError, 8 * aChunk, true},
        ScanFailure{{"LastRead"}, "Read", 13, Fail(EIO), scanReadError, 12 * aChunk, true}),
    NameOfCase());

TEST_F(EditTest, FileWithoutTicksEndsIt) {
    platform.pool.tickTables = {{}};
    EXPECT_FALSE(Edit(0, 0));
    ExpectOutput(OutOfScan() + "No system ticks found in file number 5\n",
                 "Error getting the System Ticks for TS file:5\n");
    ExpectCounters(length, length);
    EXPECT_EQ(platform.Calls(), ScanCalls(number, length));
    EXPECT_TRUE(std::filesystem::is_empty(platform.HardDisk("")));
}

TEST_F(EditTest, ShortScanIsNoFailure) {
    platform.Script("Read", 13, {10});
    Cut const cut = Cut100To200();
    EXPECT_TRUE(Edit(cut));
    EXPECT_EQ(platform.Err(),
              " unexpected EOF: fileSize=" + Show(length) + " expectedRead=300  actualRead=10\n");
    ExpectCounters(length, length - 290 + cut.prologEnd + cut.EpilogSize(length));
    ExpectOnHardDisk(cut.output, ContentAfter(cut));
}

// Failures between the scan and the first copied byte; each call is the second of its name.
struct LateFailure : NamedCase {
    Answer answer;
    std::string err;
};

class EditThatFailsAfterTheScan : public EditTest,
                                  public ::testing::WithParamInterface<LateFailure> {};

TEST_P(EditThatFailsAfterTheScan, SaysWhyAndCreatesNothing) {
    platform.Script(GetParam().name, 2, GetParam().answer);
    EXPECT_FALSE(Edit(Cut100To200()));
    ExpectOutput(OutOfScan(), GetParam().err + "\n");
    ExpectCounters(length, length);
    bool const opened = GetParam().name != "OpenStreamFile";
    EXPECT_EQ(platform.Calls(), ScanCalls(number, length) + OpenCall(number) +
                                    (opened ? LengthCall(number) + CloseCall(number) : ""));
    EXPECT_TRUE(std::filesystem::is_empty(platform.HardDisk("")));
}

INSTANTIATE_TEST_SUITE_P(
    At, EditThatFailsAfterTheScan,
    ::testing::Values(
        LateFailure{
            {"OpenStreamFile"}, Fail(EBUSY), "could not open stream file: " + ErrnoText(EBUSY)},
        LateFailure{{"DataLength"}, Fail(EIO), "error getting length of file: " + ErrnoText(EIO)}),
    NameOfCase());

TEST_F(EditTest, FileThatBecameEmptyIsNotCopied) {
    platform.Script("DataLength", 2, {0});
    EXPECT_FALSE(Edit(Cut100To200()));
    ExpectOutput(OutOfScan(), "zero-length file.  File was not copied.\n");
    ExpectCounters(length, length);
    EXPECT_TRUE(std::filesystem::is_empty(platform.HardDisk("")));
}

TEST_F(EditTest, SizeOfTheSecondLookCounts) {
    platform.Script("DataLength", 2, {8 * chunk + 50});
    EXPECT_TRUE(Edit(100, 200));
    ExpectCounters(8 * chunk + 50, length + 2 * chunk + 188 + 50);
    ExpectOnHardDisk("5.100-200.ts",
                     Content(0, 2 * chunk + 188) + Content(8 * chunk, 8 * chunk + 50));
}

// The last tick was still within the file when it was searched.
TEST_F(EditTest, LastTickAfterTheSizeLeavesAnEpilogOfNothing) {
    constexpr long size = 8 * chunk - 50;
    Cut const cut = Cut100To200();
    platform.Script("DataLength", 2, {size});
    EXPECT_TRUE(Edit(cut));
    ExpectCounters(size, length + cut.prologEnd);
    ExpectOutput(OutOfScan() + OutOfCut(cut, size) + OutOfCopying(cut) + "\n", "");
    EXPECT_NE(platform.Out().find("\nepilogsize = -50\n"), std::string::npos);
    EXPECT_EQ(platform.Calls(), CallsToProlog(cut) + PhaseCalls(cut, cut.prologEnd) +
                                    SeekCall(cut) + PhaseCalls(cut, 0) + CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, cut.prologEnd));
}

TEST_F(EditTest, TickThatIsNotThereIsReported) {
    struct Case {
        int first;
        int last;
        std::string line;
    };
    TickTable withTicksBeyondSaturation = Table();
    withTicksBeyondSaturation.push_back(Entry(12 * chunk + 120, 2147483648U, 5));
    withTicksBeyondSaturation.push_back(Entry(12 * chunk + 130, 3000000000U, 6));
    std::string out;
    std::string err;
    for (Case const& row :
         {Case{123, 200, "firsttick 123"}, Case{123, 124, "firsttick 123"},
          Case{123, 0, "firsttick 123"}, Case{100, 124, "lasttick 124"},
          Case{0, 101, "lasttick 101"}, Case{2147483647, 0, "firsttick 2147483647"},
          Case{0, 2147483647, "lasttick 2147483647"}, Case{0, -100, "lasttick -100"}}) {
        platform.pool.tickTables = {withTicksBeyondSaturation};
        EXPECT_FALSE(Edit(row.first, row.last));
        out += OutOfScan();
        err += row.line + " not found in stream file 5\n";
    }
    ExpectOutput(out, err);
    EXPECT_EQ(fileSize, length);
    EXPECT_TRUE(std::filesystem::is_empty(platform.HardDisk("")));
}

TEST_F(EditTest, OutputThatCannotBeCreatedIsReportedWithPathAndReason) {
    platform.Script("open", 1, Fail(EACCES));
    Cut const cut = Cut100To200();
    EXPECT_FALSE(Edit(cut));
    ExpectOutput(OutOfScan() + OutOfCut(cut), "Could not open outfile '" +
                                                  platform.HardDisk(cut.output) +
                                                  "': " + ErrnoText(EACCES) + "\n");
    EXPECT_EQ(platform.Calls(), CallsToProlog(cut) + CloseCall(number));
}

TEST_F(EditTest, OutputLiesOnTheUsualMountWhenNoOtherIsSet) {
    unsetenv("STREAMMGR_HD");
    EXPECT_FALSE(Edit(0, 200));
    EXPECT_EQ(platform.Err(),
              "Could not open outfile '/mnt/hd/5.-200.ts': " + ErrnoText(ENOENT) + "\n");
}

// ---------------------------------------------------------------------- failures of the copy

TEST_F(EditTest, FailedSeekIsNotLookedAt) {
    Cut const cut = Cut100To200();
    platform.Script("Seek", 1, Fail(EIO));
    EXPECT_TRUE(Edit(cut));
    long const epilogSize = cut.EpilogSize(length);
    ExpectCounters(length, length + cut.prologEnd + epilogSize);
    ExpectOutput(OutToProlog(cut) + Marks(Chunks(cut.prologEnd)) + Marks(Chunks(epilogSize)) + "\n",
                 "");
    EXPECT_EQ(platform.Calls(), CallsToProlog(cut) + PhaseCalls(cut, cut.prologEnd) +
                                    SeekCall(cut) + PhaseCalls(cut, epilogSize) +
                                    CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, cut.prologEnd + epilogSize));
}

// The count goes on to the write as it is, which no system takes; why it does not differs between
// systems.
TEST_F(EditTest, ReadOfLessThanNothingInThePrologEndsInARefusedWrite) {
    Cut const cut = Cut100To200();
    platform.Script("Read", scanReads + 2, {-2});
    platform.Script("write", 2, Fail(EINVAL));
    EXPECT_FALSE(Edit(cut));
    ExpectCounters(length, length + chunk);
    ExpectOutput(OutToProlog(cut), ShortReadLine(length, chunk, -2) +
                                       "Unexpected write status: " + ErrnoText(EINVAL) + "\n");
    EXPECT_EQ(platform.Calls(), CallsToProlog(cut) + CopyCalls(number, chunk, cut.output) +
                                    ReadCall(number, chunk) + WriteCallOfMinusTwo(cut.output) +
                                    CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, chunk));
}

TEST_F(EditTest, ReadOfLessThanNothingInTheEpilogEndsInARefusedWrite) {
    Cut const cut = Cut100To200();
    platform.Script("Read", scanReads + 3 + 1, {-2});
    platform.Script("write", 3 + 1, Fail(EINVAL));
    EXPECT_FALSE(Edit(cut));
    ExpectCounters(length, length + cut.prologEnd);
    ExpectOutput(OutToProlog(cut), ShortReadLine(length, chunk, -2) +
                                       "Unexpected write status: " + ErrnoText(EINVAL) + "\n");
    EXPECT_EQ(platform.Calls(), CallsToProlog(cut) + PhaseCalls(cut, cut.prologEnd) +
                                    SeekCall(cut) + ReadCall(number, chunk) +
                                    WriteCallOfMinusTwo(cut.output) + CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, cut.prologEnd));
}

// A prolog and an epilog of ten chunks each: 8.8 chunks overlap.
class TenChunkPhases : public EditTest {
protected:
    explicit TenChunkPhases(int position)
        : at(position) {
        platform.pool.tickTables = {
            {Entry(ChunkOfTen::length, 100, 1), Entry(length - ChunkOfTen::length, 200, 2)}};
    }

    std::string CallsBefore() const {
        return CallsToProlog(cut) + CopyCalls(number, at.before, cut.output);
    }
    std::string CallsBeforeInEpilog() const {
        return CallsToProlog(cut) + PhaseCalls(cut, cut.prologEnd) + SeekCall(cut) +
               CopyCalls(number, at.before, cut.output);
    }

    Cut const cut = {100, 200, ChunkOfTen::length, length - ChunkOfTen::length, "5.100-200.ts"};
    ChunkOfTen const at;
};

class EditOfTenChunks : public TenChunkPhases, public ::testing::WithParamInterface<PositionCase> {
protected:
    EditOfTenChunks()
        : TenChunkPhases(GetParam().position) {}

    // The edit goes on to its end and counts both phases whole.
    void ExpectAllMoved() {
        EXPECT_TRUE(Edit(cut));
        ExpectCounters(length, length + 2 * ChunkOfTen::length);
        ExpectOutput(OutToProlog(cut) + Marks(10) + Marks(10) + "\n", "");
        EXPECT_EQ(platform.Calls(), CallsToProlog(cut) + PhaseCalls(cut, cut.prologEnd) +
                                        SeekCall(cut) + PhaseCalls(cut, ChunkOfTen::length) +
                                        CallsAfterPhases(cut));
    }
};

TEST_P(EditOfTenChunks, ReadErrorInThePrologEndsIt) {
    platform.Script("Read", scanReads + at.position, Fail(EIO));
    EXPECT_FALSE(Edit(cut));
    ExpectCounters(length, length + at.before);
    ExpectOutput(OutToProlog(cut) + Marks(at.position - 1),
                 "Unexpected read status: " + ErrnoText(EIO) + "\n");
    EXPECT_EQ(platform.Calls(),
              CallsBefore() + ReadCall(number, at.request) + CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, at.before));
}

TEST_P(EditOfTenChunks, WriteErrorInThePrologEndsIt) {
    platform.Script("write", at.position, Fail(ENOSPC));
    EXPECT_FALSE(Edit(cut));
    ExpectCounters(length, length + at.before);
    ExpectOutput(OutToProlog(cut) + Marks(at.position - 1),
                 "Unexpected write status: " + ErrnoText(ENOSPC) + "\n");
    EXPECT_EQ(platform.Calls(), CallsBefore() + ReadCall(number, at.request) +
                                    WriteCall(cut.output, at.request) + CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, at.before));
}

TEST_P(EditOfTenChunks, ReadErrorInTheEpilogEndsIt) {
    platform.Script("Read", scanReads + 10 + at.position, Fail(EIO));
    EXPECT_FALSE(Edit(cut));
    ExpectCounters(length, length + cut.prologEnd + at.before);
    ExpectOutput(OutToProlog(cut) + Marks(10) + Marks(at.position - 1),
                 "Unexpected read status: " + ErrnoText(EIO) + "\n");
    EXPECT_EQ(platform.Calls(),
              CallsBeforeInEpilog() + ReadCall(number, at.request) + CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, cut.prologEnd) +
                                     Content(cut.epilogStart, cut.epilogStart + at.before));
}

TEST_P(EditOfTenChunks, WriteErrorInTheEpilogEndsIt) {
    platform.Script("write", 10 + at.position, Fail(ENOSPC));
    EXPECT_FALSE(Edit(cut));
    ExpectCounters(length, length + cut.prologEnd + at.before);
    ExpectOutput(OutToProlog(cut) + Marks(10) + Marks(at.position - 1),
                 "Unexpected write status: " + ErrnoText(ENOSPC) + "\n");
    EXPECT_EQ(platform.Calls(), CallsBeforeInEpilog() + ReadCall(number, at.request) +
                                    WriteCall(cut.output, at.request) + CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, cut.prologEnd) +
                                     Content(cut.epilogStart, cut.epilogStart + at.before));
}

TEST_P(EditOfTenChunks, ShortWriteInThePrologIsNotNoticed) {
    platform.Script("write", at.position, {40});
    ExpectAllMoved();
    ExpectOnHardDisk(cut.output, Content(0, at.before + 40) +
                                     Content(at.before + at.request, cut.prologEnd) +
                                     Content(cut.epilogStart, length));
}

TEST_P(EditOfTenChunks, ShortWriteInTheEpilogIsNotNoticed) {
    platform.Script("write", 10 + at.position, {40});
    ExpectAllMoved();
    long const written = cut.epilogStart + at.before + 40;
    ExpectOnHardDisk(cut.output, Content(0, cut.prologEnd) + Content(cut.epilogStart, written) +
                                     Content(cut.epilogStart + at.before + at.request, length));
}

INSTANTIATE_TEST_SUITE_P(At, EditOfTenChunks, ::testing::ValuesIn(positions), NameOfCase());

class EditWithAShortRead : public TenChunkPhases,
                           public ::testing::WithParamInterface<ShortReadCase> {
protected:
    EditWithAShortRead()
        : TenChunkPhases(std::get<PositionCase>(GetParam()).position) {}

    std::string ShortLine() const { return ShortReadLine(length, at.request, got); }

    long const got = std::get<ShortCase>(GetParam()).Of(at.request);
};

TEST_P(EditWithAShortRead, InThePrologEndsOnlyTheProlog) {
    platform.Script("Read", scanReads + at.position, {got});
    EXPECT_TRUE(Edit(cut));
    ExpectCounters(length, length + at.before + got + ChunkOfTen::length);
    ExpectOutput(OutToProlog(cut) + Marks(at.position) + Marks(10) + "\n", ShortLine());
    EXPECT_EQ(platform.Calls(), CallsBefore() + ReadCall(number, at.request) +
                                    WriteCall(cut.output, got) + SeekCall(cut) +
                                    PhaseCalls(cut, ChunkOfTen::length) + CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, at.before + got) + Content(cut.epilogStart, length));
}

TEST_P(EditWithAShortRead, InTheEpilogEndsItAndSucceeds) {
    platform.Script("Read", scanReads + 10 + at.position, {got});
    EXPECT_TRUE(Edit(cut));
    ExpectCounters(length, length + ChunkOfTen::length + at.before + got);
    ExpectOutput(OutToProlog(cut) + Marks(10) + Marks(at.position) + "\n", ShortLine());
    EXPECT_EQ(platform.Calls(), CallsBeforeInEpilog() + ReadCall(number, at.request) +
                                    WriteCall(cut.output, got) + CallsAfterPhases(cut));
    ExpectOnHardDisk(cut.output, Content(0, cut.prologEnd) +
                                     Content(cut.epilogStart, cut.epilogStart + at.before + got));
}

INSTANTIATE_TEST_SUITE_P(At, EditWithAShortRead,
                         ::testing::Combine(::testing::ValuesIn(positions),
                                            ::testing::ValuesIn(shortReads)),
                         NameOfPair());

} // namespace

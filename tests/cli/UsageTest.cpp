// The usage text.
#include "CliTest.h"

namespace {

constexpr char const* flushedEnd = "\n<flush>";

// What follows a line: a newline, and for most lines a flush.
std::string ExpectedUsage() {
    struct Line {
        char const* text;
        bool flushed;
    };
    // clang-format off
    constexpr Line lines[] = {
        {"Usage: ", true},
        {"       [-d] or [--delete] Delete the event with this REID", true},
        {"       [-f] or [--filechain] Show stream file chain for the provided stream number (zero based)", true},
        {"       [-F] or [--FILECHAIN] Show stream file chain without the wiped files", true},
        {"       [-h] or [--help] or [--usage] Shows help", true},
        {"       [-p] or [--ping] Pings the StreamMgr", true},
        {"       [-q] or [--quit] Tells the StreamMgr to exit", true},
        {"       [-r] or [--reaper] Tells the StreamMgr to run the reaper", true},
        {"       [-i] or [--info] Makes StreamMgr log information about itself", true},
        {"       [-c] or [--connect] subscribe to StreamMgrServer", true},
        {"       [-l] or [--loglevel] Changes the log level through a menu", true},
        {"       [-s] or [--setloglevel] Changes the log level", true},
        {"       [-x] or [--extract] <num> Copy a stream file to /mnt/hd/", true},
        {"       [-e] or [--editandextract] <num>,<tickfirst>-<ticklast> Copy a stream file to /mnt/hd/", false},
        {"               with a range of ticks deleted. If tickfirst is omitted delete from start of the file,", false},
        {"               if ticklast is omitted delete to the end of the file. Do not omit both. Note the dash.", false},
        {"       [-X] or [--extractunbounded] <num> Copy a stream file to /mnt/hd/ (copies all 94 MB regardless of size)", true},
        {"       [-y] or [--insertboundedbyname] <num>,<sourcename> Copy /mnt/hd/<sourcename>.ts over stream file <num>", true},
        {"               if destination file number is embedded as a prefix in the source file name, it may be omitted", true},
        {"       [-Y] or [--insertunbounded] <num> Copy /mnt/hd/<num>.ts to filesystem", true},
        {"       [--ratf start,stop[,c|r]] Set up a record after the fact (times as MMDDYY-hhmmss)", false},
        {"               Optional code:  c = Make this a 'normal' critical event (i.e. don't keep the routine stream)", false},
        {"                               r = Make this a 'normal' routine event (i.e. don't keep the critical stream)", false},
        {"       [-S] or [--Storage]  Show the stream file storage percentages", true},
        {"       [--bkupdb fullPath] backup database to the file specified (will overwrite)", false},
        {"       [--lsm] or [--listsharedmem] list file information from the shared memory", false},
        {"       [--lsmi] list file information from the shared memory for files that are in an intermediate state", false},
        {"       [--lproc] or [--listprocesses] list all the processes and threads in shared memory", false},
        {"       [--multiextract \"1,2,3,..\"] will create multiple threads to extract given files in parallel", false},
        {"       [--multiread \"1,2,3,..\"] will create multiple threads to just read given files in parallel", false},
        {"       [--split reid,splitsize] Split event <reid> into sub-events smaller than, or equal to <splitsize> GiB", false},
        {"       [--stats filenum (or 0 for all files)]  dump the stats for a given file number", false},
        {"       [--tickinfo filenum (or 0 for all files)]  dump the tick information for a given file number", false},
    };
    // clang-format on
    std::string text;
    for (Line const& line : lines) {
        text += std::string(line.text) + (line.flushed ? flushedEnd : "\n");
    }
    return text;
}

using UsageTest = CliTest;

TEST_F(UsageTest, TextIsWholeAndFlushedLineByLineWhereItAlwaysWas) {
    cli.Usage();
    EXPECT_EQ(platform.Recorded().FlushedOut(), ExpectedUsage());
    EXPECT_EQ(platform.Err(), "");
}

TEST_F(UsageTest, HardDiskOfTheTextStaysWhereTheManualHasIt) {
    EXPECT_EQ(platform.HardDisk("").rfind("/mnt/hd", 0), std::string::npos);
    cli.Usage();
    EXPECT_NE(platform.Out().find("Copy a stream file to /mnt/hd/\n"), std::string::npos);
}

TEST_F(UsageTest, HelpOptionPrintsItAndIsCarriedOut) {
    EXPECT_EQ(cli.ProcessOption('h', nullptr), 3U);
    EXPECT_EQ(platform.Recorded().FlushedOut(), ExpectedUsage());
    EXPECT_EQ(platform.Err(), "");
}

} // namespace

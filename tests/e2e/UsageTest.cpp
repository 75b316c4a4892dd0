// The tool's usage text and command lines that it does not understand.
#include <gtest/gtest.h>

#include "Recorder.h"

namespace e2e {
namespace {

std::string const usage =
    R"(Usage: 
       [-d] or [--delete] Delete the event with this REID
       [-f] or [--filechain] Show stream file chain for the provided stream number (zero based)
       [-F] or [--FILECHAIN] Show stream file chain without the wiped files
       [-h] or [--help] or [--usage] Shows help
       [-p] or [--ping] Pings the StreamMgr
       [-q] or [--quit] Tells the StreamMgr to exit
       [-r] or [--reaper] Tells the StreamMgr to run the reaper
       [-i] or [--info] Makes StreamMgr log information about itself
       [-c] or [--connect] subscribe to StreamMgrServer
       [-l] or [--loglevel] Changes the log level through a menu
       [-s] or [--setloglevel] Changes the log level
       [-x] or [--extract] <num> Copy a stream file to /mnt/hd/
       [-e] or [--editandextract] <num>,<tickfirst>-<ticklast> Copy a stream file to /mnt/hd/
               with a range of ticks deleted. If tickfirst is omitted delete from start of the file,
               if ticklast is omitted delete to the end of the file. Do not omit both. Note the dash.
       [-X] or [--extractunbounded] <num> Copy a stream file to /mnt/hd/ (copies all 94 MB regardless of size)
       [-y] or [--insertboundedbyname] <num>,<sourcename> Copy /mnt/hd/<sourcename>.ts over stream file <num>
               if destination file number is embedded as a prefix in the source file name, it may be omitted
       [-Y] or [--insertunbounded] <num> Copy /mnt/hd/<num>.ts to filesystem
       [--ratf start,stop[,c|r]] Set up a record after the fact (times as MMDDYY-hhmmss)
               Optional code:  c = Make this a 'normal' critical event (i.e. don't keep the routine stream)
                               r = Make this a 'normal' routine event (i.e. don't keep the critical stream)
       [-S] or [--Storage]  Show the stream file storage percentages
       [--bkupdb fullPath] backup database to the file specified (will overwrite)
       [--lsm] or [--listsharedmem] list file information from the shared memory
       [--lsmi] list file information from the shared memory for files that are in an intermediate state
       [--lproc] or [--listprocesses] list all the processes and threads in shared memory
       [--multiextract "1,2,3,.."] will create multiple threads to extract given files in parallel
       [--multiread "1,2,3,.."] will create multiple threads to just read given files in parallel
       [--split reid,splitsize] Split event <reid> into sub-events smaller than, or equal to <splitsize> GiB
       [--stats filenum (or 0 for all files)]  dump the stats for a given file number
       [--tickinfo filenum (or 0 for all files)]  dump the tick information for a given file number
)";

// The name under which the tool speaks of itself in complaints about its command line.
std::string Self(Recorder const& recorder) {
    return recorder.ToolCommand({}).words.back();
}

class HelpOption : public testing::TestWithParam<char const*> {};

TEST_P(HelpOption, PrintsTheUsageText) {
    Recorder const recorder;
    EXPECT_EQ(recorder.Tool({GetParam()}), (Outcome{0, notRunning + usage, ""}));
}

INSTANTIATE_TEST_SUITE_P(Usage, HelpOption, testing::Values("-h", "--help", "--usage"));

TEST(Usage, NoOptionPrintsTheUsageTextAndFails) {
    Recorder const recorder;
    EXPECT_EQ(recorder.Tool({}), (Outcome{99, notRunning + usage, ""}));
}

TEST(Usage, TwoHelpOptionsPrintItTwice) {
    Recorder const recorder;
    EXPECT_EQ(recorder.Tool({"-hh"}), (Outcome{0, notRunning + usage + usage, ""}));
}

// A command line and the complaint on standard error, after the tool's name.
struct Misuse {
    Words words;
    char const* complaint;
};

void PrintTo(Misuse const& misuse, std::ostream* stream) {
    *stream << misuse.complaint;
}

class MisusedCommandLine : public testing::TestWithParam<Misuse> {};

TEST_P(MisusedCommandLine, PrintsTheUsageTextAndFails) {
    Recorder const recorder;
    EXPECT_EQ(recorder.Tool(GetParam().words),
              (Outcome{99, notRunning + usage, Self(recorder) + GetParam().complaint + '\n'}));
}

INSTANTIATE_TEST_SUITE_P(
    Usage, MisusedCommandLine,
    testing::Values(Misuse{{"-G"}, ": invalid option -- 'G'"},
                    Misuse{{"-a"}, ": invalid option -- 'a'"},
                    Misuse{{"-1"}, ": invalid option -- '1'"},
                    Misuse{{"--extrakt"}, ": unrecognized option '--extrakt'"},
                    Misuse{{"--storage"}, ": unrecognized option '--storage'"},
                    Misuse{{"-x"}, ": option requires an argument -- 'x'"},
                    Misuse{{"--stats"}, ": option '--stats' requires an argument"},
                    Misuse{{"--ping=5"}, ": option '--ping' doesn't allow an argument"},
                    Misuse{{"operand"}, ": unexpected operand 'operand'"},
                    Misuse{{"--", "-p"}, ": unexpected operand '-p'"}));

TEST(Usage, OptionsAroundAnOperandAreCarriedOut) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    EXPECT_EQ(
        recorder.Tool({"-p", "operand", "-r"}),
        (Outcome{99,
                 "Successfully sent ping request\n" + usage + "Successfully sent reap request\n",
                 Self(recorder) + ": unexpected operand 'operand'\n"}));
}

TEST(Usage, StandardOutputThatTakesNothingIsNoFailure) {
    Recorder const recorder;
    Command command = recorder.ToolCommand({"-h"});
    command.outputPath = "/dev/full";
    EXPECT_EQ(RunToEnd(command), (Outcome{0, "", ""}));
}

} // namespace
} // namespace e2e

// The command-line tool: entry, options, usage text, dispatch and the requests to the service.
#include "StreamMgrCli.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <unistd.h>
#include <utility>

#include "IpcMessage.h"
#include "LinxServerNameList.h"
#include "LogClient.h"
#include "common/Int32.h"
#include "shm/ListProcesses.h"
#include "shm/ListSharedMem.h"
#include "streamfile/CopyStreamFile.h"
#include "streamfile/EditAndExtractStreamFile.h"
#include "streamfile/EditArgument.h"
#include "streamfile/MultiRead.h"
#include "streamfile/OverwriteStreamFile.h"
#include "streamfile/StreamFileStats.h"
#include "streamfile/StreamFileTickInfo.h"
#include "streamfile/TickInfoArgument.h"

StreamFileAccess fileAccess;

namespace {

// What the frame and its virtual operations answer.
constexpr unsigned int prepared = 1;
constexpr unsigned int failed = 2;
constexpr unsigned int carriedOut = 3;

// Every way to fail has the same exit status; scripts on the recorder test for it.
constexpr int exitFailed = 99;

// Message ids of the plain text requests.
enum RequestId : unsigned int {
    requestQuit = 0x500,
    requestPing = 0x3603,
    requestReap = 0x360E,
    requestInfo = 0x360F,
    requestStorage = 0x363A,
};

// Values of the options that have no short form.
enum LongOption : int {
    optionRatf = 0xff00,
    optionBackupDb = 0xff01,
    optionListFiles = 0xff02,
    optionListIntermediateFiles = 0xff03,
    optionListProcesses = 0xff04,
    optionMultiExtract = 0xff05,
    optionMultiRead = 0xff06,
    optionSplit = 0xff07,
    optionStats = 0xff08,
    optionTickInfo = 0xff09,
};

constexpr char const* shortOptions = "hpqrilcs:x:e:X:y:Y:f:F:d:S";

constexpr option longOptions[] = {
    {"help", no_argument, nullptr, 'h'},
    {"usage", no_argument, nullptr, 'h'},
    {"ping", no_argument, nullptr, 'p'},
    {"quit", no_argument, nullptr, 'q'},
    {"reaper", no_argument, nullptr, 'r'},
    {"info", no_argument, nullptr, 'i'},
    {"loglevel", no_argument, nullptr, 'l'},
    {"connect", no_argument, nullptr, 'c'},
    {"filechain", required_argument, nullptr, 'f'},
    {"FILECHAIN", required_argument, nullptr, 'F'},
    {"delete", required_argument, nullptr, 'd'},
    {"setloglevel", required_argument, nullptr, 's'},
    {"extract", required_argument, nullptr, 'x'},
    {"editandextract", required_argument, nullptr, 'e'},
    {"extractunbounded", required_argument, nullptr, 'X'},
    {"insertboundedbyname", required_argument, nullptr, 'y'},
    {"insertunbounded", required_argument, nullptr, 'Y'},
    {"ratf", required_argument, nullptr, optionRatf},
    {"bkupdb", required_argument, nullptr, optionBackupDb},
    {"lsm", no_argument, nullptr, optionListFiles},
    {"lsmi", no_argument, nullptr, optionListIntermediateFiles},
    {"listsharedmem", no_argument, nullptr, optionListFiles},
    {"lproc", no_argument, nullptr, optionListProcesses},
    {"listprocesses", no_argument, nullptr, optionListProcesses},
    {"multiextract", required_argument, nullptr, optionMultiExtract},
    {"multiread", required_argument, nullptr, optionMultiRead},
    {"split", required_argument, nullptr, optionSplit},
    {"stats", required_argument, nullptr, optionStats},
    {"tickinfo", required_argument, nullptr, optionTickInfo},
    {"Storage", no_argument, nullptr, 'S'},
    {nullptr, 0, nullptr, 0},
};

// How times are written in --ratf.
constexpr char const* timeFormat = "MMDDYY-hhmmss";

// The name under which the service is reached. std::invoke takes the list however the platform
// hands it out, as a pointer or as a reference.
std::string const& ServiceName() {
    return std::invoke(&LinxServerNameList::Name, LinxServerNameList::Instance(), e_StreamMgr);
}

// A frame operation or a tool that answers 0 for failed and 1 for done, as a status.
unsigned int Status(unsigned int done) {
    return done + failed;
}

// Ends a copy with its counters, beside its other messages: on standard output when it succeeded,
// else on standard error.
unsigned int CopyResult(bool succeeded, long statedLength, long copied) {
    std::ostream& out = succeeded ? std::cout : std::cerr;
    out << "Stated file length: " << statedLength << "  copied: " << copied << std::endl;
    return Status(succeeded);
}

unsigned int Extract(char const* argument, bool unbounded) {
    long statedLength = 0;
    long copied = 0;
    bool const succeeded =
        CopyStreamFile(device::ParseInt32(argument), statedLength, copied, unbounded);
    return CopyResult(succeeded, statedLength, copied);
}

unsigned int InsertUnbounded(char const* argument) {
    long statedLength = 0;
    long copied = 0;
    bool const succeeded =
        OverwriteStreamFile(device::ParseInt32(argument), statedLength, copied, true);
    return CopyResult(succeeded, statedLength, copied);
}

// Carried out whatever the threads report: each of them speaks for itself.
unsigned int Multi(char const* list, bool extract) {
    MultiRead(list, extract);
    return carriedOut;
}

// Carried out once the argument is understood, whatever came of it.
unsigned int EditAndExtract(char const* argument, bool unbounded) {
    auto const edit = streamfile::ParseEditArgument(argument);
    if (!edit)
        return failed;
    long fileSize = 0;
    long bytesCount = 0;
    if (!EditAndExtractStreamFile(edit->fileNum, fileSize, bytesCount, unbounded, edit->firsttick,
                                  edit->lasttick))
        std::cerr << "EditAndExtractStreamFile() returned an error." << std::endl
                  << "      filenum = " << edit->fileNum << std::endl
                  << "    firsttick = " << edit->firsttick << std::endl
                  << "     lasttick = " << edit->lasttick << std::endl;
    return carriedOut;
}

unsigned int Stats(char const* argument, bool unbounded) {
    long fileSize = 0;
    long bytesRead = 0;
    StreamFileStats(device::ParseInt32(argument), fileSize, bytesRead, unbounded);
    return carriedOut;
}

unsigned int TickInfo(char const* argument, bool unbounded) {
    auto const tickInfo = streamfile::ParseTickInfoArgument(argument);
    if (!tickInfo)
        return failed;
    long fileSize = 0;
    long bytesRead = 0;
    StreamFileTickInfo(tickInfo->fileNum, fileSize, tickInfo->mode, bytesRead, unbounded);
    return carriedOut;
}

// Whether a process of the service exists. Only that a line came is looked at, not what it says:
// several services count as one.
bool ServiceProcessExists() {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const pipe(popen("pidof StreamMgr", "r"),
                                                               &pclose);
    std::array<char, 1024> line{};
    return pipe && std::fgets(line.data(), static_cast<int>(line.size()), pipe.get()) != nullptr;
}

} // namespace

StreamMgrCli::StreamMgrCli(std::string name)
    : linxIpc_(name)
    , serverName_(ServiceName())
    , subscribeClient_(nullptr)
    , streamMgrRunning_(false) {}

StreamMgrCli::~StreamMgrCli() {
    delete subscribeClient_;
}

unsigned int StreamMgrCli::PreInit() {
    unsigned int result = prepared;
    if (linxIpc_.Init() != 0) {
        std::cerr << "Error initializing the connection" << std::endl;
        result = failed;
    }
    streamMgrRunning_ = ServiceProcessExists();
    if (!streamMgrRunning_)
        std::cout << "StreamMgr is currently NOT running" << std::endl;
    return result;
}

// The text stands as it is, odd spacing included: manuals and scripts quote it. Lines that end in
// endl are flushed one by one.
void StreamMgrCli::Usage() {
    using std::endl;
    // clang-format off
    std::cout
        << "Usage: " << endl
        << "       [-d] or [--delete] Delete the event with this REID" << endl
        << "       [-f] or [--filechain] Show stream file chain for the provided stream number (zero based)" << endl
        << "       [-F] or [--FILECHAIN] Show stream file chain without the wiped files" << endl
        << "       [-h] or [--help] or [--usage] Shows help" << endl
        << "       [-p] or [--ping] Pings the StreamMgr" << endl
        << "       [-q] or [--quit] Tells the StreamMgr to exit" << endl
        << "       [-r] or [--reaper] Tells the StreamMgr to run the reaper" << endl
        << "       [-i] or [--info] Makes StreamMgr log information about itself" << endl
        << "       [-c] or [--connect] subscribe to StreamMgrServer" << endl
        << "       [-l] or [--loglevel] Changes the log level through a menu" << endl
        << "       [-s] or [--setloglevel] Changes the log level" << endl
        << "       [-x] or [--extract] <num> Copy a stream file to /mnt/hd/" << endl
        << "       [-e] or [--editandextract] <num>,<tickfirst>-<ticklast> Copy a stream file to /mnt/hd/\n"
        << "               with a range of ticks deleted. If tickfirst is omitted delete from start of the file,\n"
        << "               if ticklast is omitted delete to the end of the file. Do not omit both. Note the dash.\n"
        << "       [-X] or [--extractunbounded] <num> Copy a stream file to /mnt/hd/ (copies all 94 MB regardless of size)" << endl
        << "       [-y] or [--insertboundedbyname] <num>,<sourcename> Copy /mnt/hd/<sourcename>.ts over stream file <num>" << endl
        << "               if destination file number is embedded as a prefix in the source file name, it may be omitted" << endl
        << "       [-Y] or [--insertunbounded] <num> Copy /mnt/hd/<num>.ts to filesystem" << endl
        << "       [--ratf start,stop[,c|r]] Set up a record after the fact (times as " << timeFormat << ")\n"
        << "               Optional code:  c = Make this a 'normal' critical event (i.e. don't keep the routine stream)\n"
        << "                               r = Make this a 'normal' routine event (i.e. don't keep the critical stream)\n"
        << "       [-S] or [--Storage]  Show the stream file storage percentages" << endl
        << "       [--bkupdb fullPath] backup database to the file specified (will overwrite)\n"
        << "       [--lsm] or [--listsharedmem] list file information from the shared memory\n"
        << "       [--lsmi] list file information from the shared memory for files that are in an intermediate state\n"
        << "       [--lproc] or [--listprocesses] list all the processes and threads in shared memory\n"
        << "       [--multiextract \"1,2,3,..\"] will create multiple threads to extract given files in parallel\n"
        << "       [--multiread \"1,2,3,..\"] will create multiple threads to just read given files in parallel\n"
        << "       [--split reid,splitsize] Split event <reid> into sub-events smaller than, or equal to <splitsize> GiB\n"
        << "       [--stats filenum (or 0 for all files)]  dump the stats for a given file number\n"
        << "       [--tickinfo filenum (or 0 for all files)]  dump the tick information for a given file number\n";
    // clang-format on
}

unsigned int StreamMgrCli::ProcessOption(int option, char const* argument) {
    switch (option) {
    case 'h':
        Usage();
        return carriedOut;
    case 'p':
        return SendRequest(requestPing, "ping");
    case 'q':
        return SendRequest(requestQuit, "quit");
    case 'r':
        return SendRequest(requestReap, "reap");
    case 'i':
        return SendRequest(requestInfo, "info");
    case 'S':
        return SendRequest(requestStorage, "Dump Stream File Storage Percentages");
    case 'l':
        return HandleLogLevel(linxIpc_, ServiceName());
    case 's':
        return Status(SetLogLevel(linxIpc_, ServiceName(),
                                  static_cast<unsigned int>(device::ParseInt32(argument))));
    case 'x':
        return Extract(argument, false);
    case 'X':
        return Extract(argument, true);
    case 'Y':
        return InsertUnbounded(argument);
    case optionMultiExtract:
        return Multi(argument, true);
    case optionMultiRead:
        return Multi(argument, false);
    case optionListFiles:
        return Status(ListSharedMem(false));
    case optionListIntermediateFiles:
        return Status(ListSharedMem(true));
    case optionListProcesses:
        return Status(ListProcesses());
    // While the service does not run, nobody vouches for the stated length: the tick tools then
    // take the whole slot.
    case 'e':
        return EditAndExtract(argument, !streamMgrRunning_);
    case optionStats:
        return Stats(argument, !streamMgrRunning_);
    case optionTickInfo:
        return TickInfo(argument, !streamMgrRunning_);
    default:
        Usage();
        return failed;
    }
}

unsigned int StreamMgrCli::SendRequest(unsigned int id, std::string text) {
    auto const size = static_cast<unsigned int>(text.size() + 1); // with its terminating NUL
    IpcMessage message;
    char const* failure = nullptr;
    if (message.Allocate(id, size, nullptr) != 0)
        failure = "Error allocating request for ";
    else if (message.Fill(text.c_str(), size) != 0)
        failure = "Error populating request string with ";
    else if (linxIpc_.Request(serverName_, message, 0, -1, nullptr) != 0)
        failure = "Error sending request ";

    if (failure != nullptr) {
        std::cerr << failure << text << std::endl;
        return failed;
    }
    std::cout << "Successfully sent " << text << " request" << std::endl;
    return carriedOut;
}

void TerminationHandler(int) {
    fileAccess.Unload();
    std::exit(-1);
}

int main(int argc, char** argv) {
    std::ostringstream name;
    name << "StreamMgrCli_" << getpid();
    LogClient::Instance()->ProcessName(name.str());

    unsigned int result = failed;
    {
        StreamMgrCli cli(name.str());
        std::array<option, std::size(longOptions)> options{};
        std::copy(std::begin(longOptions), std::end(longOptions), options.begin());
        std::signal(SIGINT, TerminationHandler);
        result = cli.Go(argv, argc, shortOptions, options.data());
        fileAccess.Unload();
    }
    return result == carriedOut ? EXIT_SUCCESS : exitFailed;
}

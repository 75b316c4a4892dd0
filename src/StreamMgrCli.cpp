// The command-line tool: entry, usage text, dispatch of the options, requests to the service.
#include "StreamMgrCli.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <unistd.h>
#include <utility>
#include <variant>

#include "GetoptOptions.h"
#include "IpcMessage.h"
#include "LinxServerNameList.h"
#include "LogClient.h"
#include "StreamMgrApi.h"
#include "arguments/EditArgument.h"
#include "arguments/InsertArgument.h"
#include "arguments/RatfArgument.h"
#include "arguments/SplitArgument.h"
#include "arguments/TickInfoArgument.h"
#include "common/Int32.h"
#include "common/LogEntry.h"
#include "shm/ListProcesses.h"
#include "shm/ListSharedMem.h"
#include "streamfile/CopyStreamFile.h"
#include "streamfile/EditAndExtractStreamFile.h"
#include "streamfile/MultiRead.h"
#include "streamfile/OverwriteStreamFile.h"
#include "streamfile/OverwriteStreamFileFromName.h"
#include "streamfile/StreamFileStats.h"
#include "streamfile/StreamFileTickInfo.h"

StreamFileAccess fileAccess;

namespace {

// The statuses that the frame and its virtual operations return.
constexpr unsigned int prepared = 1;
constexpr unsigned int failed = 2;
constexpr unsigned int carriedOut = 3;

// Deliberate: the same exit status for every failure; scripts on the recorder test for it.
constexpr int exitFailed = 99;

// Message ids of the requests that consist of a text only.
enum RequestId : unsigned int {
    requestQuit = 0x500,
    requestPing = 0x3603,
    requestReap = 0x360E,
    requestInfo = 0x360F,
    requestStorage = 0x363A,
};

// The IPC name of the service, looked up at each call. Deliberate: the log-level options and
// --connect look it up when they run; only SendRequest uses serverName_, the copy that was made at
// construction.
std::string const& ServiceName() {
    return LinxServerNameList::Instance()->Name(e_StreamMgr);
}

// The status of a frame operation or a tool that returns 0 for failed and 1 for done.
unsigned int Status(unsigned int done) {
    return done + failed;
}

struct ClosePipe {
    void operator()(std::FILE* pipe) const { pclose(pipe); }
};

// Longest wait for the service to complete an event operation, and to confirm a subscription.
constexpr int eventTimeoutMs = 60000;
constexpr int subscribeTimeoutMs = 5000;

// The last line of a copy, with its counters: on standard output when it succeeded, else on
// standard error.
unsigned int CopyResult(bool succeeded, long statedLength, long copied) {
    std::ostream& out = succeeded ? std::cout : std::cerr;
    out << "Stated file length: " << statedLength << "  copied: " << copied << std::endl;
    return Status(succeeded);
}

// Runs one of the tools that copy the stream file whose number is the argument.
unsigned int CopyFile(bool (*tool)(int, long&, long&, bool), char const* argument, bool unbounded) {
    long statedLength = 0;
    long copied = 0;
    bool const succeeded = tool(common::ParseInt32(argument), statedLength, copied, unbounded);
    return CopyResult(succeeded, statedLength, copied);
}

// Deliberate: succeeds whatever happens; each thread prints its own result.
unsigned int Multi(char const* list, bool extract) {
    MultiRead(list, extract);
    return carriedOut;
}

// Deliberate: succeeds once the argument is valid, also when the copy fails.
unsigned int EditAndExtract(char const* argument, bool unbounded) {
    auto const edit = arguments::ParseEditArgument(argument);
    if (!edit) {
        return failed;
    }
    long fileSize = 0;
    long bytesCount = 0;
    if (!EditAndExtractStreamFile(edit->fileNumber, fileSize, bytesCount, unbounded,
                                  edit->firstTick, edit->lastTick)) {
        std::cerr << "EditAndExtractStreamFile() returned an error." << std::endl
                  << "      filenum = " << edit->fileNumber << std::endl
                  << "    firsttick = " << edit->firstTick << std::endl
                  << "     lasttick = " << edit->lastTick << std::endl;
    }
    return carriedOut;
}

unsigned int Stats(char const* argument, bool unbounded) {
    long fileSize = 0;
    long bytesRead = 0;
    StreamFileStats(common::ParseInt32(argument), fileSize, bytesRead, unbounded);
    return carriedOut;
}

unsigned int TickInfo(char const* argument, bool unbounded) {
    auto const tickInfo = arguments::ParseTickInfoArgument(argument);
    if (!tickInfo) {
        return failed;
    }
    long fileSize = 0;
    long bytesRead = 0;
    StreamFileTickInfo(tickInfo->fileNumber, fileSize, tickInfo->mode, bytesRead, unbounded);
    return carriedOut;
}

} // namespace

StreamMgrCli::StreamMgrCli(std::string name)
    : linxIpc_(name)
    , serverName_(ServiceName())
    , streamMgrRunning_(false) {}

StreamMgrCli::~StreamMgrCli() = default;

unsigned int StreamMgrCli::PreInit() {
    unsigned int result = prepared;
    if (linxIpc_.Init() != 0) {
        std::cerr << "Error initializing the connection" << std::endl;
        result = failed;
    }

    // Any line means that the service runs; what is in it does not matter.
    std::unique_ptr<std::FILE, ClosePipe> const pipe(popen("pidof StreamMgr", "r"));
    std::array<char, 1024> line{};
    streamMgrRunning_ =
        pipe && fgets(line.data(), static_cast<int>(line.size()), pipe.get()) != nullptr;
    if (!streamMgrRunning_) {
        std::cout << "StreamMgr is currently NOT running" << std::endl;
    }
    return result;
}

// Deliberate: the text keeps its odd spacing, since manuals and scripts quote it. A line that ends
// in endl is flushed on its own.
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
        << "       [--ratf start,stop[,c|r]] Set up a record after the fact (times as " << arguments::ratfTimeFormat << ")\n"
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
                                  static_cast<unsigned int>(common::ParseInt32(argument))));
    case 'c':
        return Connect();
    case 'd':
        return DeleteEvent(argument);
    case 'f':
        return LogFileChain(argument, true);
    case 'F':
        return LogFileChain(argument, false);
    case cli::optionRatf:
        return RecordAfterTheFact(argument);
    case cli::optionBackupDb:
        return BackupDatabase(argument);
    case cli::optionSplit:
        return SplitEvent(argument);
    case 'x':
        return CopyFile(CopyStreamFile, argument, false);
    case 'X':
        return CopyFile(CopyStreamFile, argument, true);
    case 'y':
        return InsertByName(argument);
    case 'Y':
        return CopyFile(OverwriteStreamFile, argument, true);
    case cli::optionMultiExtract:
        return Multi(argument, true);
    case cli::optionMultiRead:
        return Multi(argument, false);
    case cli::optionListFiles:
        return Status(ListSharedMem(false));
    case cli::optionListIntermediateFiles:
        return Status(ListSharedMem(true));
    case cli::optionListProcesses:
        return Status(ListProcesses());
    // While the service does not run, the stated length may be wrong: the tick tools then read the
    // whole slot.
    case 'e':
        return EditAndExtract(argument, !streamMgrRunning_);
    case cli::optionStats:
        return Stats(argument, !streamMgrRunning_);
    case cli::optionTickInfo:
        return TickInfo(argument, !streamMgrRunning_);
    default:
        Usage();
        return failed;
    }
}

unsigned int StreamMgrCli::Connect() {
    std::string const& service = ServiceName();
    subscribeClient_.reset();
    subscribeClient_ = std::make_unique<SubscribeClient>(linxIpc_, service, subscribeTimeoutMs);

    if (!notifications::SubscribeToAll(*subscribeClient_)) {
        common::LogEntry(common::logError, "Could not subscribe to StreamMgr");
        return failed;
    }
    // Until SIGINT ends the process. The handlers are called inside Receive.
    for (;;) {
        linxIpc_.Receive(-1, 0, LinxIpc::emptyString, nullptr);
    }
}

unsigned int StreamMgrCli::DeleteEvent(std::string const& reid) {
    if (!StreamMgrApi::DeleteEvent(reid, linxIpc_)) {
        std::cerr << "Error sending request for delete\n";
        return failed;
    }
    std::cout << "Successfully sent delete request\n";
    return carriedOut;
}

unsigned int StreamMgrCli::LogFileChain(char const* argument, bool withWiped) {
    auto const stream = static_cast<unsigned int>(common::ParseInt32(argument));
    if (!StreamMgrApi::LogFileChain(stream, linxIpc_, withWiped)) {
        std::cerr << "Error sending file chain request" << std::endl;
        return failed;
    }
    std::cout << "Successfully sent file chain request" << std::endl;
    return carriedOut;
}

// Deliberate: a failed backup is reported, but the option succeeds.
unsigned int StreamMgrCli::BackupDatabase(char const* path) {
    if (StreamMgrApi::BackupDatabase(linxIpc_, path, eventTimeoutMs)) {
        std::cout << "backup successful\n";
    } else {
        std::cerr << "backup failed\n";
    }
    return carriedOut;
}

// Deliberate: only a wrong code makes the option fail. Every other failure is reported, but the
// option succeeds.
unsigned int StreamMgrCli::RecordAfterTheFact(std::string const& argument) {
    auto const parsed = arguments::ParseRatfArgument(argument);
    if (auto const* const error = std::get_if<arguments::RatfError>(&parsed)) {
        if (*error == arguments::RatfError::code) {
            Usage();
            return failed;
        }
        return carriedOut;
    }
    auto const& ratf = std::get<arguments::RatfArgument>(parsed);

    std::string reid;
    if (!StreamMgrApi::RecordAfterTheFact(linxIpc_, ratf.startSeconds, ratf.stopSeconds, reid,
                                          eventTimeoutMs, ratf.streams)) {
        std::cerr << "RATF call FAILED\n";
    } else if (reid.empty()) {
        std::cerr << "RATF event creation FAIL (REID empty)\n";
    } else {
        std::cout << "RATF event created REID " << reid << std::endl;
        StreamMgrApi::SetTagsComplete(reid, linxIpc_, eventTimeoutMs);
    }
    return carriedOut;
}

// Deliberate: the request is sent with a malformed identifier too, and only the status shows it. A
// failed call does not change the status.
unsigned int StreamMgrCli::SplitEvent(std::string const& argument) {
    auto const split = arguments::ParseSplitArgument(argument);
    if (!split) {
        return failed;
    }
    std::string reid = split->reid;
    std::string const rule(95, '#');
    std::cerr << "\n"
              << rule << "\n"
              << "Submitting Split Event request with REID: '" << reid
              << "', splitsize = " << split->size << " " << (split->isMiB ? "MiB" : "GiB") << "\n"
              << rule << "\n\n";

    unsigned int size = split->ServiceSize(); // the call replaces it by the size that is used
    if (StreamMgrApi::SplitEvent(linxIpc_, reid, size)) {
        std::cout << "Split request submitted for REID: '" << reid << "', split size = " << size
                  << std::endl;
    } else {
        std::cerr << "SPLIT call FAILED\n";
    }
    return split->reidIsWellFormed ? carriedOut : failed;
}

unsigned int StreamMgrCli::InsertByName(char const* argument) {
    auto const insert = arguments::ParseInsertArgument(argument);
    if (!insert) {
        return failed;
    }
    long statedLength = 0;
    long copied = 0;
    bool const succeeded = OverwriteStreamFileFromName(
        linxIpc_, insert->fileNumber, insert->sourceName, statedLength, copied, false);
    return CopyResult(succeeded, statedLength, copied);
}

unsigned int StreamMgrCli::SendRequest(unsigned int id, std::string text) {
    auto const size = static_cast<unsigned int>(text.size() + 1); // with its terminating NUL
    IpcMessage message;
    char const* failure = nullptr;
    if (message.Allocate(id, size, nullptr) != 0) {
        failure = "Error allocating request for ";
    } else if (message.Fill(text.c_str(), size) != 0) {
        failure = "Error populating request string with ";
    } else if (linxIpc_.Request(serverName_, message, 0, -1, nullptr) != 0) {
        failure = "Error sending request ";
    }

    if (failure != nullptr) {
        std::cerr << failure << text << std::endl;
        return failed;
    }
    std::cout << "Successfully sent " << text << " request" << std::endl;
    return carriedOut;
}

void TerminationHandler(int) {
    fileAccess.Unload();
    exit(-1);
}

int main(int argc, char** argv) {
    std::ostringstream name;
    name << "StreamMgrCli_" << getpid();
    LogClient::Instance()->ProcessName(name.str());

    unsigned int result = failed;
    {
        StreamMgrCli tool(name.str());
        std::array<option, std::size(cli::longOptions)> options{};
        std::copy(std::begin(cli::longOptions), std::end(cli::longOptions), options.begin());
        signal(SIGINT, TerminationHandler);
        result = tool.Go(argv, argc, cli::shortOptions, options.data());
        fileAccess.Unload();
    }
    return result == carriedOut ? EXIT_SUCCESS : exitFailed;
}

// The command-line tool: entry, options, usage text, dispatch and the requests to the service.
#include "StreamMgrCli.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <unistd.h>
#include <utility>

#include "IpcMessage.h"
#include "LinxServerNameList.h"
#include "LogClient.h"
#include "MyStrptime.h"
#include "OptionTable.h"
#include "StreamMgrApi.h"
#include "common/Int32.h"
#include "common/LogEntry.h"
#include "shm/ListProcesses.h"
#include "shm/ListSharedMem.h"
#include "streamfile/CopyStreamFile.h"
#include "streamfile/EditAndExtractStreamFile.h"
#include "streamfile/EditArgument.h"
#include "streamfile/InsertArgument.h"
#include "streamfile/MultiRead.h"
#include "streamfile/OverwriteStreamFile.h"
#include "streamfile/OverwriteStreamFileFromName.h"
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

// The notifications of the service: what they are subscribed as, and the ids they come with.
enum SubscriptionId : unsigned int {
    subscriptionStorage = 10,
    subscriptionRecordStart = 11,
    subscriptionRecordStop = 12,
};
enum NotificationId : unsigned int {
    messageStorage = 0x3614,
    messageRecordStart = 0x3615,
    messageRecordStop = 0x3616,
};

// How times are written in --ratf.
constexpr char const* timeFormat = "MMDDYY-hhmmss";

// What a platform hands out, as a reference or as a pointer.
template <typename Object>
Object& Dereferenced(Object& object) {
    return object;
}
template <typename Object>
Object& Dereferenced(Object* object) {
    return *object;
}

// The name under which the service is reached.
std::string const& ServiceName() {
    return Dereferenced(LinxServerNameList::Instance()).Name(e_StreamMgr);
}

// A frame operation or a tool that answers 0 for failed and 1 for done, as a status.
unsigned int Status(unsigned int done) {
    return done + failed;
}

struct ClosePipe {
    void operator()(std::FILE* pipe) const { pclose(pipe); }
};

// Longest wait for the service to carry out an event operation, and to confirm a subscription.
constexpr int eventTimeoutMs = 60000;
constexpr int subscribeTimeoutMs = 5000;

constexpr char const* blanks = " \t";

// Without its leading blanks. A text of nothing else is an error that the frame reports.
std::string TrimFront(std::string const& text) {
    auto const start = text.find_first_not_of(blanks);
    if (start == std::string::npos) {
        throw std::out_of_range("basic_string::substr");
    }
    return text.substr(start);
}

std::string Trim(std::string const& text) {
    std::string const trimmed = TrimFront(text);
    return trimmed.substr(0, trimmed.find_last_not_of(blanks) + 1);
}

// Local time written as timeFormat. Null when the text is none.
bool ParseTime(std::string const& text, tm& time) {
    time = {};
    time.tm_isdst = -1; // the system decides on daylight saving
    return MyStrptime::mystrptime(text.c_str(), "%m%d%y-%H%M%S", &time) != nullptr;
}

// Seconds since the epoch; -1 when there are none, or when they do not fit the recorder's signed
// 32-bit time_t.
long ToSeconds(tm& time) {
    auto const seconds = mktime(&time);
    return static_cast<std::int32_t>(seconds) == seconds ? static_cast<long>(seconds) : -1;
}

bool IsWellFormedReid(std::string const& reid) {
    return reid.size() > 18 &&
           reid.find_first_not_of("0123456789abcdefABCDEF:-") == std::string::npos;
}

// What --split is asked for.
struct SplitSize {
    unsigned int number; // as typed
    bool isMiB;          // else GiB
};

SplitSize ParseSplitSize(std::string const& text) {
    return {static_cast<unsigned int>(device::ParseInt32(text.c_str())), text.back() == 'M'};
}

// Ends a copy with its counters, beside its other messages: on standard output when it succeeded,
// else on standard error.
unsigned int CopyResult(bool succeeded, long statedLength, long copied) {
    std::ostream& out = succeeded ? std::cout : std::cerr;
    out << "Stated file length: " << statedLength << "  copied: " << copied << std::endl;
    return Status(succeeded);
}

// An option that copies one file, with its tool.
unsigned int CopyFile(bool (*tool)(int, long&, long&, bool), char const* argument, bool unbounded) {
    long statedLength = 0;
    long copied = 0;
    bool const succeeded = tool(device::ParseInt32(argument), statedLength, copied, unbounded);
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
    if (!edit) {
        return failed;
    }
    long fileSize = 0;
    long bytesCount = 0;
    if (!EditAndExtractStreamFile(edit->fileNum, fileSize, bytesCount, unbounded, edit->firsttick,
                                  edit->lasttick)) {
        std::cerr << "EditAndExtractStreamFile() returned an error." << std::endl
                  << "      filenum = " << edit->fileNum << std::endl
                  << "    firsttick = " << edit->firsttick << std::endl
                  << "     lasttick = " << edit->lasttick << std::endl;
    }
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
    if (!tickInfo) {
        return failed;
    }
    long fileSize = 0;
    long bytesRead = 0;
    StreamFileTickInfo(tickInfo->fileNum, fileSize, tickInfo->mode, bytesRead, unbounded);
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

    // Only that a line came is looked at, not what it says: several services count as one.
    std::unique_ptr<std::FILE, ClosePipe> const pipe(popen("pidof StreamMgr", "r"));
    std::array<char, 1024> line{};
    streamMgrRunning_ =
        pipe && fgets(line.data(), static_cast<int>(line.size()), pipe.get()) != nullptr;
    if (!streamMgrRunning_) {
        std::cout << "StreamMgr is currently NOT running" << std::endl;
    }
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
    // While the service does not run, nobody vouches for the stated length: the tick tools then
    // take the whole slot.
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

    StringItem everything;
    StreamMgrApi::EventRecordItem everyEvent;
    bool const subscribed =
        subscribeClient_->Subscribe(subscriptionStorage, messageStorage, everything,
                                    StreamSubscriptionHandler, nullptr) == 0 &&
        subscribeClient_->Subscribe(subscriptionRecordStart, messageRecordStart, everything,
                                    RecordStartHandler, nullptr) == 0 &&
        subscribeClient_->Subscribe(subscriptionRecordStop, messageRecordStop, everyEvent,
                                    RecordStopHandler, nullptr) == 0;
    if (!subscribed) {
        cli::LogEntry(cli::logError, "Could not subscribe to StreamMgr");
        return failed;
    }
    // For ever: SIGINT is the only way out.
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
    auto const stream = static_cast<unsigned int>(device::ParseInt32(argument));
    if (!StreamMgrApi::LogFileChain(stream, linxIpc_, withWiped)) {
        std::cerr << "Error sending file chain request" << std::endl;
        return failed;
    }
    std::cout << "Successfully sent file chain request" << std::endl;
    return carriedOut;
}

// A failed backup is told, and the option counts as carried out all the same.
unsigned int StreamMgrCli::BackupDatabase(char const* path) {
    if (StreamMgrApi::BackupDatabase(linxIpc_, path, eventTimeoutMs)) {
        std::cout << "backup successful\n";
    } else {
        std::cerr << "backup failed\n";
    }
    return carriedOut;
}

// --ratf start,stop[,c|r]. Only a wrong code counts as failed; every other failure is told and
// counts as carried out.
unsigned int StreamMgrCli::RecordAfterTheFact(std::string const& argument) {
    std::string const hint = std::string("start and stop times must be in the form '") +
                             timeFormat + "," + timeFormat + "'";
    auto const comma = argument.find(',');
    if (comma == std::string::npos) {
        std::cerr << "Did not find comma\n:" << hint << "\n";
        return carriedOut;
    }

    std::string const start = argument.substr(0, comma);
    std::string stop = argument.substr(comma + 1);
    int state = 3; // keep both streams
    auto const secondComma = argument.find(',', comma + 1);
    if (secondComma != std::string::npos) {
        // With the second comma itself, as the messages show it; times end before it. The code is
        // the last character, whatever stands in front of it.
        stop = argument.substr(comma + 1, secondComma - comma);
        switch (argument.back()) {
        case 'c':
            state = 1;
            break;
        case 'r':
            state = 0;
            break;
        default:
            std::cerr << "\nSpecial option not formatted correctly\n\n";
            Usage();
            return failed;
        }
    }

    tm startTime{};
    tm stopTime{};
    bool const startParsed = ParseTime(start, startTime);
    bool const stopParsed = ParseTime(stop, stopTime);
    if (!startParsed || !stopParsed) {
        std::cerr << "Dates failed, using " << start << " and " << stop << "\n" << hint << "\n";
        return carriedOut;
    }
    long const startSeconds = ToSeconds(startTime);
    long const stopSeconds = ToSeconds(stopTime);
    if (startSeconds == -1 || stopSeconds == -1) {
        std::cerr << hint << "\n";
        return carriedOut;
    }

    std::string reid;
    if (!StreamMgrApi::RecordAfterTheFact(linxIpc_, startSeconds, stopSeconds, reid, eventTimeoutMs,
                                          static_cast<StreamMgrApi::EventStreamState>(state))) {
        std::cerr << "RATF call FAILED\n";
    } else if (reid.empty()) {
        std::cerr << "RATF event creation FAIL (REID empty)\n";
    } else {
        std::cout << "RATF event created REID " << reid << std::endl;
        StreamMgrApi::SetTagsComplete(reid, linxIpc_, eventTimeoutMs);
    }
    return carriedOut;
}

// --split reid,splitsize
unsigned int StreamMgrCli::SplitEvent(std::string const& argument) {
    constexpr char const* hint = "split parameters must be in the form 'reid,splitsize'";
    auto const comma = argument.find(',');
    if (comma == std::string::npos) {
        std::cerr << "Did not find comma:\n" << hint << "\n";
        return failed;
    }

    // A malformed identifier spoils the result, but the request is sent: the service decides.
    unsigned int result = carriedOut;
    std::string reid = Trim(argument.substr(0, comma));
    if (!IsWellFormedReid(reid)) {
        std::cerr << "Malformed or misplaced REID:\n" << hint << "\n";
        result = failed;
    }

    if (argument.size() - comma <= 1) {
        std::cerr
            << "NOTE: use no spaces between reid and splitsize, or else enclose the arguments "
               "in quotes";
    }
    SplitSize const asked = ParseSplitSize(TrimFront(argument.substr(comma + 1)));
    if (asked.number == 0) {
        std::cerr << "splitsize must be > 0\n" << hint << "\n";
        return failed;
    }
    std::string const rule(95, '#');
    std::cerr << "\n"
              << rule << "\n"
              << "Submitting Split Event request with REID: '" << reid
              << "', splitsize = " << asked.number << " " << (asked.isMiB ? "MiB" : "GiB") << "\n"
              << rule << "\n\n";

    // The service takes a number of GiB, or of KiB from 1024 on.
    unsigned int size = asked.isMiB ? asked.number << 10 : asked.number;
    if (StreamMgrApi::SplitEvent(linxIpc_, reid, size)) {
        std::cout << "Split request submitted for REID: '" << reid << "', split size = " << size
                  << std::endl;
    } else {
        std::cerr << "SPLIT call FAILED\n";
    }
    return result;
}

unsigned int StreamMgrCli::InsertByName(char const* argument) {
    auto const insert = streamfile::ParseInsertArgument(argument);
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

namespace {

unsigned char* CurrentPayload(LinxIpc& ipc) {
    return reinterpret_cast<unsigned char*>(ipc.CurrentMessage().Data());
}

void LogMegabytes(char const* label, UIntItem const& sizeKiB) {
    cli::LogEntry(cli::logError, label + std::to_string(sizeKiB.Value() >> 10) + " MB");
}

} // namespace

void StreamSubscriptionHandler(LinxIpc* ipc, void*) {
    StreamMgrApi::StreamSpaceStatusItem space;
    space.Decode(CurrentPayload(*ipc));
    cli::LogEntry(cli::logError, "subscription update:");
    LogMegabytes("\ttotal: ", space.total);
    LogMegabytes("\tbuffer: ", space.buffer);
    LogMegabytes("\tevent untransferred in buffer: ", space.untransferredInBuffer);
    LogMegabytes("\tevent untransferred not in buffer: ", space.untransferredNotInBuffer);
    LogMegabytes("\tfree: ", space.free);
}

void RecordStartHandler(LinxIpc* ipc, void*) {
    StringItem reid;
    reid.Decode(CurrentPayload(*ipc));
    cli::LogEntry(cli::logError, "RecordStartHandler: Record start, reid " + reid.Value());
}

void RecordStopHandler(LinxIpc* ipc, void*) {
    StreamMgrApi::EventRecordItem event;
    event.Decode(CurrentPayload(*ipc));
    cli::LogEntry(cli::logError, "RecordStopHandler: Record stop, reid " + event.reid.Value());
}

namespace StreamMgrApi {

unsigned char* StreamSpaceStatusItem::Encode(unsigned char* out) {
    for (UIntItem* const item :
         {&total, &buffer, &untransferredInBuffer, &untransferredNotInBuffer, &free}) {
        out = item->Encode(out);
    }
    return out;
}

unsigned char* StreamSpaceStatusItem::Decode(unsigned char* in) {
    for (UIntItem* const item :
         {&total, &buffer, &untransferredInBuffer, &untransferredNotInBuffer, &free}) {
        in = item->Decode(in);
    }
    return in;
}

unsigned int StreamSpaceStatusItem::Size() {
    return total.Size() + buffer.Size() + untransferredInBuffer.Size() +
           untransferredNotInBuffer.Size() + free.Size();
}

} // namespace StreamMgrApi

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

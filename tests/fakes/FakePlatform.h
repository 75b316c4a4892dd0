// The platform and the system as a test scripts them.
#pragma once

#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <getopt.h>
#include <pthread.h>

#include "CapturedStream.h"
#include "FakePool.h"
#include "Record.h"

class CommonCli;
class LinxIpc;

// What a scripted call returns; `error` becomes errno.
struct Answer {
    long long value = 0;
    int error = 0;
};

// An ordinary failure of a call that returns -1.
inline Answer Fail(int error) {
    return {-1, error};
}

// Leaves the tool where it called exit: the process is over, and nothing is recorded after it.
struct ProcessExit {
    int status;
};

// A message on its way to an endpoint of this process.
struct FakeMessage {
    unsigned int id;
    std::string payload;
    std::string from = {}; // the endpoint that sent it
    std::string to = {};   // the endpoint that it is for; empty: whichever receives next
};

// How pthread_create behaves.
enum class Threads {
    RunAtCreation, // the thread has ended when it returns, so that the record has one order
    Real,
};

// Exactly one lives at a time, as long as its test. While it lives, all classes of the seam and
// the system calls of the tool (SystemCalls.cpp) work on it: each call is recorded with its
// arguments and then answered as the script says, or as usual. Standard output and standard error
// are captured, and the hard-disk mount is a directory of its own.
//
// Strict: a call that breaks the contract of the seam fails the test, and so does a scripted answer
// that was never used, and whatever is left open in the end.
class FakePlatform {
public:
    FakePlatform();
    ~FakePlatform();

    FakePlatform(FakePlatform const&) = delete;
    FakePlatform& operator=(FakePlatform const&) = delete;

    // Null before main, and in tests that do not use it.
    static FakePlatform* Current();
    // The same where there must be one.
    static FakePlatform& Get();

    // Scripts the answer of the nth call with this name, counted from 1 over all objects; or of
    // every call with this name. Names are those of the operations ("Read", "InitializeFileAccess")
    // and system calls ("write"). A value that is no failure means: Read and write move only so
    // many bytes, fstat reports it as the size.
    void Script(std::string const& call, int ordinal, Answer answer);
    void ScriptAlways(std::string const& call, Answer answer);

    Record const& Recorded() const { return record_; }
    std::string Calls() const { return record_.Calls(); }
    std::string Out() const { return record_.Out(); }
    std::string Err() const { return record_.Err(); }

    // The path of a file on the hard-disk mount.
    std::string HardDisk(std::string const& fileName) const { return hardDisk_ + "/" + fileName; }

    // The stream files, all with the given stated length.
    void AddStreamFiles(std::initializer_list<int> numbers, long statedLength);

    // ------------------------------------------------------------------ set up by the test
    FakePool pool;
    std::string serviceName = "TheService";
    bool serviceRuns = true; // whether a request to that name is delivered
    // The messages with which the service replies, for each request that waits for a reply. There
    // is no reply to the requests after these.
    std::vector<std::vector<FakeMessage>> replies;
    std::string pidofOutput = "321\n";
    int processId = 4711;
    std::set<int> liveProcesses;
    // Paths outside the hard disk, each with the file that is opened in its place. The tool finds
    // nothing there otherwise.
    std::map<std::string, std::string> systemFiles;
    Threads threads = Threads::RunAtCreation;
    // What CommonCli::Go does with the tool, and what it returns.
    std::function<unsigned int(CommonCli&)> frame = [](CommonCli&) { return 3U; };
    // The messages that LinxIpc::Receive returns, in that order, and those that endpoints of this
    // process send to each other. After the last one a Receive without a limit raises SIGINT.
    std::vector<FakeMessage> incoming;
    // The identifier of the event that RecordAfterTheFact makes, the size SplitEvent settles on.
    std::string newReid = "0123456789abcdef:01";
    std::optional<unsigned int> usedSplitSize;

    // ------------------------------------------------------------------ seen by the test
    // The arguments of CommonCli::Go.
    struct CommandLine {
        std::vector<std::string> arguments;
        std::string shortOptions;
        std::vector<option> longOptions; // with its terminating entry
    };
    std::optional<CommandLine> commandLine;
    std::map<int, void (*)(int)> signalHandlers;

    // ------------------------------------------------------------------ for the fakes
    // Records a call and returns its scripted answer; empty when none is scripted. errno is that of
    // the answer, or meaningless.
    std::optional<Answer> Enter(std::string_view object, std::string const& call,
                                std::string const& arguments);
    // The same for a call that only returns a value: the scripted one, else `usual`.
    long Ask(std::string_view object, std::string const& call, std::string const& arguments,
             long usual);
    // Records a line that cannot be scripted.
    void Note(std::string line);

    // While one lives, what the fakes do among themselves is neither recorded nor scripted.
    class Unrecorded {
    public:
        explicit Unrecorded(FakePlatform& platform)
            : platform_(platform) {
            ++platform_.unrecorded_;
        }
        ~Unrecorded() { --platform_.unrecorded_; }

        Unrecorded(Unrecorded const&) = delete;
        Unrecorded& operator=(Unrecorded const&) = delete;

    private:
        FakePlatform& platform_;
    };

    // Fails the test.
    void Breach(std::string const& what) const;

    // The process has ended.
    [[noreturn]] void Exit(int status);
    bool HasEnded() const { return ended_; }

    // Whether it is the tool that opens a file with this path, and not the test.
    bool IsToolPath(std::string const& path) const;
    // What is opened in its place: the path itself only when it is on the test's hard disk.
    std::string RealPath(std::string const& path) const;
    // Its form in the record: without the directory when it is on the hard-disk mount.
    std::string ShortName(std::string const& path) const;

    // The tool's open descriptors, with their short names.
    void Opened(int descriptor, std::string const& path);
    void Closed(int descriptor);
    std::vector<int> OpenDescriptors();
    // Nothing when it is not the tool's.
    std::optional<std::string> NameOf(int descriptor);

    // The endpoints that exist.
    struct Endpoint {
        std::string name;
        bool ready = false; // after a successful Init
    };
    std::map<LinxIpc const*, Endpoint> endpoints;
    std::string NameOf(LinxIpc const& ipc);
    // Whether the service or a ready endpoint receives what is sent to this name.
    bool IsServed(std::string const& name) const;

    // The message that is being handled. Items may be decoded from nothing else.
    std::string message;

    std::set<std::FILE*> pipes; // of popen, not closed yet
    pthread_t lastThread = 0;
    std::map<pthread_t, int> notJoined; // threads, with the number that each was started with
    std::recursive_mutex mutex;         // guards all of this against the tool's threads

private:
    static std::string MakeDirectory();

    Record record_;
    std::map<std::string, std::map<int, Answer>> scripted_;
    std::map<std::string, Answer> scriptedAlways_;
    std::map<std::string, int> counts_;
    std::map<int, std::string> descriptors_;
    int unrecorded_ = 0;
    bool ended_ = false;
    std::string hardDisk_ = MakeDirectory();
    std::optional<std::string> previousHardDisk_;
    CapturedStream out_{std::cout, record_, Record::Kind::Out};
    CapturedStream err_{std::cerr, record_, Record::Kind::Err};
};

// A frame for FakePlatform::frame: prepares the tool and passes it all these options, even after
// one has failed. Returns 3 when all have succeeded.
std::function<unsigned int(CommonCli&)>
PlayOptions(std::vector<std::pair<int, char const*>> const& options);

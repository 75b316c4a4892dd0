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

// What a scripted call answers; `error` becomes errno.
struct Answer {
    long long value = 0;
    int error = 0;
};

// An ordinary failure of a call that answers -1.
inline Answer Fail(int error) {
    return {-1, error};
}

// Leaves the tool where it called exit: the process is over, and nothing is recorded after it.
struct ProcessExit {
    int status;
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
// that nobody asked for, and whatever is left open in the end.
class FakePlatform {
public:
    FakePlatform();
    ~FakePlatform();

    FakePlatform(FakePlatform const&) = delete;
    FakePlatform& operator=(FakePlatform const&) = delete;

    // Null when no test has one: before main, and in tests of other things.
    static FakePlatform* Current();
    // The same where there must be one.
    static FakePlatform& Get();

    // Scripts the answer of the nth call with this name, counted from 1 over all objects; or of
    // every call with this name. Names are those of the operations ("Read", "InitializeFileAccess")
    // and system calls ("write"). A value that is no failure means: Read and write come short
    // with it, fstat reports it as the size.
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
    std::string pidofOutput = "321\n";
    int processId = 4711;
    std::set<int> liveProcesses;
    // Paths outside the hard disk, each with the file that is opened in its place. The tool finds
    // nothing there otherwise.
    std::map<std::string, std::string> systemFiles;
    Threads threads = Threads::RunAtCreation;
    // What the frame does with the tool when it is told to Go, and what it answers.
    std::function<unsigned int(CommonCli&)> frame = [](CommonCli&) { return 3U; };
    // What the messages say that LinxIpc::Receive brings, in that order; SIGINT comes after the
    // last.
    std::vector<std::pair<unsigned int, std::string>> incoming;
    // The identifier of the event that RecordAfterTheFact makes, the size SplitEvent settles on.
    std::string newReid = "0123456789abcdef:01";
    std::optional<unsigned int> usedSplitSize;

    // ------------------------------------------------------------------ seen by the test
    // What the frame was given.
    struct CommandLine {
        std::vector<std::string> arguments;
        std::string shortOptions;
        std::vector<option> longOptions; // with its terminating entry
    };
    std::optional<CommandLine> commandLine;
    std::map<int, void (*)(int)> signalHandlers;

    // ------------------------------------------------------------------ for the fakes
    // Records a call; its scripted answer, none when it has none. errno is that of the answer, or
    // meaningless.
    std::optional<Answer> Enter(std::string_view object, std::string const& call,
                                std::string const& arguments);
    // The same where an answer is all that there is to it.
    long Ask(std::string_view object, std::string const& call, std::string const& arguments,
             long usual);
    // Records a line that is no call to be answered.
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

    // Whether a file that is opened under this path is the tool's doing.
    bool IsToolPath(std::string const& path) const;
    // What is opened in its place: itself only when it lies on the test's hard disk.
    std::string RealPath(std::string const& path) const;
    // How it stands in the record: without the directory when it lies on the hard-disk mount.
    std::string ShortName(std::string const& path) const;

    // The tool's open descriptors, with their short names.
    void Opened(int descriptor, std::string const& path);
    void Closed(int descriptor);
    std::vector<int> OpenDescriptors();
    // None when it is not the tool's.
    std::optional<std::string> NameOf(int descriptor);

    // The living endpoints with their names.
    std::map<LinxIpc const*, std::string> endpoints;
    std::string NameOf(LinxIpc const& ipc);

    // The message that is being handled; items decode from it and from nothing else.
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

// A frame for FakePlatform::frame: prepares the tool and gives it these options, each whatever the
// one before it answered. Answers 3 when all did.
std::function<unsigned int(CommonCli&)>
PlayOptions(std::vector<std::pair<int, char const*>> const& options);

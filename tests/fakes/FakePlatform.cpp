// The platform and the system as a test scripts them.
#include "FakePlatform.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "CommonCli.h"
#include "Errno.h"
#include "LogClient.h"
#include "Show.h"
#include "StreamFileAccess.h"

namespace {

FakePlatform* current = nullptr;

constexpr char const* hardDiskVariable = "STREAMMGR_HD";

std::optional<std::string> Environment(char const* name) {
    char const* const value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

bool StartsWith(std::string const& text, std::string const& start) {
    return text.compare(0, start.size(), start) == 0;
}

} // namespace

FakePlatform::FakePlatform()
    : previousHardDisk_(Environment(hardDiskVariable)) {
    if (current != nullptr) {
        ADD_FAILURE() << "two platforms at a time";
    }
    current = this;
    setenv(hardDiskVariable, hardDisk_.c_str(), 1);
    StreamFileAccess::fileSystemType = 2;
    LogClient::Instance()->Level(1);
    Unrecorded const unrecorded(*this);
    LogClient::Instance()->ProcessName("TheProcess");
}

FakePlatform::~FakePlatform() {
    current = nullptr;
    if (previousHardDisk_) {
        setenv(hardDiskVariable, previousHardDisk_->c_str(), 1);
    } else {
        unsetenv(hardDiskVariable);
    }
    std::filesystem::remove_all(hardDisk_);

    for (auto const& [call, answers] : scripted_) {
        for (auto const& [ordinal, answer] : answers) {
            Breach("scripted, but never called: " + call + " number " + std::to_string(ordinal));
        }
    }
    if (ended_) {
        return;
    }
    for (auto const& [call, answer] : scriptedAlways_) {
        if (counts_[call] == 0) {
            Breach("scripted, but never called: " + call);
        }
    }
    for (auto const& [descriptor, name] : descriptors_) {
        Breach("left open: " + name);
    }
    if (pool.openFiles != 0) {
        Breach("stream files left open: " + std::to_string(pool.openFiles));
    }
    if (!pipes.empty()) {
        Breach("a pipe was left open");
    }
    if (!notJoined.empty()) {
        Breach("threads that were not joined: " + std::to_string(notJoined.size()));
    }
}

FakePlatform* FakePlatform::Current() {
    return current;
}

FakePlatform& FakePlatform::Get() {
    if (current == nullptr) {
        ADD_FAILURE() << "a call of the platform in a test that has none";
        std::abort();
    }
    return *current;
}

void FakePlatform::Script(std::string const& call, int ordinal, Answer answer) {
    scripted_[call][ordinal] = answer;
}

void FakePlatform::ScriptAlways(std::string const& call, Answer answer) {
    scriptedAlways_[call] = answer;
}

void FakePlatform::AddStreamFiles(std::initializer_list<int> numbers, long statedLength) {
    for (int const number : numbers) {
        pool.files[number].statedLength = statedLength;
    }
}

std::optional<Answer> FakePlatform::Enter(std::string_view object, std::string const& call,
                                          std::string const& arguments) {
    std::scoped_lock const lock(mutex);
    if (unrecorded_ > 0) {
        return std::nullopt;
    }
    Note(std::string(object) + call + "(" + arguments + ")");
    int const ordinal = ++counts_[call];
    std::optional<Answer> answer;
    if (auto const always = scriptedAlways_.find(call); always != scriptedAlways_.end()) {
        answer = always->second;
    }
    if (auto const node = scripted_[call].extract(ordinal)) {
        answer = node.mapped();
    }
    errno = answer ? answer->error : meaninglessErrno;
    return answer;
}

long FakePlatform::Ask(std::string_view object, std::string const& call,
                       std::string const& arguments, long usual) {
    auto const answer = Enter(object, call, arguments);
    return answer ? static_cast<long>(answer->value) : usual;
}

void FakePlatform::Note(std::string line) {
    if (!ended_ && unrecorded_ == 0) {
        record_.Add(Record::Kind::Call, std::move(line));
    }
}

void FakePlatform::Breach(std::string const& what) const {
    if (!ended_) {
        ADD_FAILURE() << what;
    }
}

void FakePlatform::Exit(int status) {
    Note("exit(" + Show(status) + ")");
    ended_ = true;
    throw ProcessExit{status};
}

bool FakePlatform::IsToolPath(std::string const& path) const {
    return StartsWith(path, hardDisk_ + "/") || StartsWith(path, "/mnt/hd/") ||
           (StartsWith(path, "/proc/") && path.find_first_of("0123456789") == 6);
}

std::string FakePlatform::RealPath(std::string const& path) const {
    if (StartsWith(path, hardDisk_ + "/")) {
        return path;
    }
    auto const found = systemFiles.find(path);
    return found == systemFiles.end() ? "" : found->second; // "" does not exist
}

std::string FakePlatform::ShortName(std::string const& path) const {
    return StartsWith(path, hardDisk_ + "/") ? path.substr(hardDisk_.size() + 1) : path;
}

void FakePlatform::Opened(int descriptor, std::string const& path) {
    std::scoped_lock const lock(mutex);
    descriptors_[descriptor] = ShortName(path);
}

void FakePlatform::Closed(int descriptor) {
    std::scoped_lock const lock(mutex);
    descriptors_.erase(descriptor);
}

std::vector<int> FakePlatform::OpenDescriptors() {
    std::scoped_lock const lock(mutex);
    std::vector<int> open;
    for (auto const& [descriptor, name] : descriptors_) {
        open.push_back(descriptor);
    }
    return open;
}

std::optional<std::string> FakePlatform::NameOf(int descriptor) {
    std::scoped_lock const lock(mutex);
    auto const found = descriptors_.find(descriptor);
    return found == descriptors_.end() ? std::nullopt : std::optional(found->second);
}

std::string FakePlatform::NameOf(LinxIpc const& ipc) {
    auto const found = endpoints.find(&ipc);
    if (found != endpoints.end()) {
        return found->second.name;
    }
    Breach("an endpoint that does not exist");
    return "?";
}

bool FakePlatform::IsServed(std::string const& name) const {
    return (serviceRuns && name == serviceName) ||
           std::any_of(endpoints.begin(), endpoints.end(), [&](auto const& entry) {
               return entry.second.ready && entry.second.name == name;
           });
}

std::string FakePlatform::MakeDirectory() {
    std::string path = (std::filesystem::temp_directory_path() / "streammgr-test-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        ADD_FAILURE() << "no temporary directory: " << path;
    }
    return path;
}

std::function<unsigned int(CommonCli&)>
PlayOptions(std::vector<std::pair<int, char const*>> const& options) {
    return [options](CommonCli& cli) {
        bool succeeded = cli.PreInit() == 1;
        for (auto const& [value, argument] : options) {
            succeeded = cli.ProcessOption(value, argument) == 3 && succeeded;
        }
        succeeded = cli.PostInit() == 1 && succeeded;
        return cli.RunIt() == 3 && succeeded ? 3U : 2U;
    };
}

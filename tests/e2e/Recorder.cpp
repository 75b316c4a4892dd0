// A recorder of a test's own: its directories, its pool, its service, and the programs run on it.
#include "Recorder.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

#include "ProcessTable.h"
#include "support/DirectoryWatch.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// The process table: offset of its first record, distance between records and number of records.
constexpr std::size_t processTableHeaderSize = 28;
constexpr std::size_t processRecordSize = 772;
constexpr std::size_t processRecordCount = 128;

std::string Variable(char const* name, char const* fallback) {
    char const* const value = std::getenv(name);
    return value != nullptr ? value : fallback;
}

void Append(Words& words, Words const& more) {
    words.insert(words.end(), more.begin(), more.end());
}

int Count(std::string const& text, std::string const& what) {
    int count = 0;
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

// Replaces pidof(8) in the tool's search path. It finds only the service of this recorder.
void WritePidof(fs::path const& directory) {
    std::string const pidFile = (directory / "service.pid").string();
    WriteFile(directory / "bin/pidof", "#!/bin/sh\nexec 2>/dev/null\n"
                                       "[ \"$*\" = StreamMgr ] && read -r pid <'" +
                                           pidFile + "' && kill -0 \"$pid\" && echo \"$pid\"\n");
    fs::permissions(directory / "bin/pidof", fs::perms::owner_all);
}

} // namespace

std::string ThisBuildsTool() {
    return TOOL_PATH;
}

std::string ToolPath() {
    return Variable("STREAMMGR_TEST_TOOL", TOOL_PATH);
}

Words ToolWords() {
    std::istringstream prefix(Variable("STREAMMGR_TEST_TOOL_PREFIX", ""));
    Words words;
    for (std::string word; prefix >> word;) {
        words.push_back(word);
    }
    words.push_back(ToolPath());
    return words;
}

bool ToolIsEmulated() {
    return ToolWords().size() > 1;
}

Recorder::Recorder() {
    for (fs::path const& directory : {Root(), HardDisk(), Directory() / "bin"}) {
        fs::create_directory(directory);
    }
    fs::permissions(Root(), fs::perms::owner_all);
    WritePidof(Directory());
}

fs::path Recorder::Extracted(int number) const {
    return HardDisk() / (std::to_string(number) + ".ts");
}

std::string Recorder::LogOf(std::string const& process) const {
    std::istringstream log(Log());
    std::string texts;
    for (std::string time, name, text; log >> time >> name && std::getline(log, text);) {
        if (name == process + ':') {
            texts += text.substr(1) + '\n';
        }
    }
    return texts;
}

bool Recorder::Logs(std::string const& text, int times) const {
    if (AwaitInDirectory(directory_.Path(), patience,
                         [&] { return Count(Log(), text) >= times; })) {
        return true;
    }
    ADD_FAILURE() << "not in the log: " << text << "\n" << Log();
    return false;
}

Command Recorder::ServiceCommand(Words const& arguments) const {
    Command command{{SERVICE_PATH}};
    command.environment = {{"STREAMMGR_ROOT", Root()},
                           {"STREAMMGR_HD", HardDisk()},
                           {"STREAMMGR_LOG", LogPath()},
                           {"STREAMMGR_LOGLEVEL", "3"}};
    Append(command.words, arguments);
    return command;
}

Command Recorder::PoolToolCommand(Words const& arguments) const {
    Command command = ServiceCommand(arguments);
    command.words.front() = POOL_TOOL_PATH;
    return command;
}

Command Recorder::ToolCommand(Words const& arguments) const {
    Command command = ServiceCommand();
    command.words = ToolWords();
    Append(command.words, arguments);
    command.environment["PATH"] = (Directory() / "bin").string() + ':' + Variable("PATH", "/bin");
    return command;
}

void Recorder::CreatePool(int files) {
    auto const outcome = RunToEnd(PoolToolCommand({"create", "--files", std::to_string(files)}));
    ASSERT_EQ(outcome.status, 0) << outcome;
}

void Recorder::Load(int number, std::string const& content) const {
    auto const source = Directory() / "loaded";
    WriteFile(source, content);
    auto const outcome = RunToEnd(PoolToolCommand({"load", std::to_string(number), source}));
    fs::remove(source);
    ASSERT_EQ(outcome.status, 0) << outcome;
}

Child& Recorder::StartService(Words const& arguments) {
    Command command = ServiceCommand(arguments);
    command.environment.insert(serviceVariables_.begin(), serviceVariables_.end());
    service_ = std::make_unique<Child>(command);
    if (!service_->Says("StreamMgr: ready\n")) {
        throw std::runtime_error("the service does not start: " + service_->Finish().err);
    }
    WriteFile(Directory() / "service.pid", std::to_string(service_->Pid()) + '\n');
    return *service_;
}

void Recorder::WaitForData(int number, std::uint32_t size) const {
    constexpr std::streamoff firstLength = 4096 + 12; // in the table of files
    constexpr std::streamoff entrySize = 16;
    auto const deadline = std::chrono::steady_clock::now() + patience;
    auto const length = [&] {
        std::uint32_t word = 0;
        for (char const byte : ReadPiece(Pool(), firstLength + (number - 1) * entrySize, 4)) {
            word = word << 8U | static_cast<unsigned char>(byte);
        }
        return word;
    };
    while (length() < size) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("no data in stream file " + std::to_string(number));
        }
        poll(nullptr, 0, 5); // there is no notification of a word in shared memory
    }
}

Outcome Recorder::StopService(int signal) {
    service_->Signal(signal);
    Outcome outcome = service_->Finish();
    service_.reset();
    fs::remove(Directory() / "service.pid");
    return outcome;
}

bool Recorder::IsRegistered(pid_t pid) const {
    for (std::endian const order : {std::endian::native, ToolsByteOrder()}) {
        std::string const table = ReadFile(ProcessTablePath(*this, order));
        std::string const word = Word(pid, order);
        for (std::size_t record = 0; record < processRecordCount; ++record) {
            std::size_t const offset = processTableHeaderSize + record * processRecordSize;
            if (offset < table.size() && table.compare(offset, word.size(), word) == 0) {
                return true;
            }
        }
    }
    return false;
}

std::string Noise(std::size_t size) {
    std::string bytes(size, '\0');
    std::minstd_rand random(static_cast<unsigned int>(size));
    for (char& byte : bytes) {
        byte = static_cast<char>(random() >> 8U);
    }
    return bytes;
}

std::string ClipRepeated(std::size_t size) {
    std::string const clip = ReadFile(CLIP_PATH);
    if (clip.empty()) {
        throw std::runtime_error("no clip at " CLIP_PATH);
    }
    std::string bytes;
    bytes.reserve(size + clip.size());
    while (bytes.size() < size) {
        bytes += clip;
    }
    bytes.resize(size);
    return bytes;
}

std::string ReadFile(fs::path const& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

void WriteFile(fs::path const& path, std::string const& content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::string ReadPiece(fs::path const& path, std::streamoff offset, std::size_t size) {
    std::string piece(size, '\0');
    std::ifstream file(path, std::ios::binary);
    file.seekg(offset);
    if (!file.read(piece.data(), static_cast<std::streamsize>(size))) {
        throw std::runtime_error("cannot read from " + path.string());
    }
    return piece;
}

void WritePiece(fs::path const& path, std::streamoff offset, std::string const& piece) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(offset);
    if (!(file << piece).flush()) {
        throw std::runtime_error("cannot write into " + path.string());
    }
}

} // namespace e2e

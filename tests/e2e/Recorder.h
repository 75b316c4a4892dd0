// A recorder of a test's own: its directories, its pool, its service, and the programs run on it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <ios>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Child.h"
#include "support/TemporaryDirectory.h"

namespace e2e {

using Words = std::vector<std::string>;

// The slot of a stream file and the chunk in which it is copied, in bytes.
constexpr std::size_t slotSize = 0x5E00000;
constexpr std::size_t chunkSize = 0x2F000;

// What the tool prints before anything else when no service runs.
inline std::string const notRunning = "StreamMgr is currently NOT running\n";

std::string ReadFile(std::filesystem::path const& path);
void WriteFile(std::filesystem::path const& path, std::string const& content);

// The tool as this build made it.
std::string ThisBuildsTool();

// The tool under test: that one, or another build of it through the command that runs it, such as
// an emulator of the recorder's processor. The service and the pool tool are always this build's.
Words ToolWords();
std::string ToolPath();
bool ToolIsEmulated(); // each start then takes its time

// Everything lies in one temporary directory, which goes with the object. The tool sees only the
// service of this recorder, so that tests can run side by side.
class Recorder {
public:
    Recorder();

    Recorder(Recorder const&) = delete;
    Recorder& operator=(Recorder const&) = delete;

    std::filesystem::path Directory() const { return directory_.Path(); }
    std::filesystem::path Root() const { return Directory() / "root"; }
    std::filesystem::path Pool() const { return Root() / "pool"; }
    std::filesystem::path HardDisk() const { return Directory() / "hd"; }
    std::filesystem::path Extracted(int number) const;
    std::filesystem::path LogPath() const { return Directory() / "log"; }
    std::string Log() const { return ReadFile(LogPath()); }

    // What one process wrote into the log, one entry a line, without the time and its name.
    std::string LogOf(std::string const& process) const;

    // Waits until the log contains the text so many times; false when the patience ends first.
    bool Logs(std::string const& text, int times = 1) const;

    // Runs one of the programs in this recorder's environment.
    Command ToolCommand(Words const& arguments) const;
    Command PoolToolCommand(Words const& arguments) const;
    Command ServiceCommand(Words const& arguments = {}) const;
    Outcome Tool(Words const& arguments) const { return RunToEnd(ToolCommand(arguments)); }
    Outcome PoolTool(Words const& arguments) const { return RunToEnd(PoolToolCommand(arguments)); }

    // Creates a pool of that many files.
    void CreatePool(int files);

    // Makes `content` the data of a stream file.
    void Load(int number, std::string const& content) const;

    // An environment variable for the service only.
    void SetForService(std::string const& name, std::string const& value) {
        serviceVariables_[name] = value;
    }

    // Starts the service and waits until it serves.
    Child& StartService(Words const& arguments = {});
    Child& Service() { return *service_; }

    // Waits until the table states that a stream file has so many bytes.
    void WaitForData(int number, std::uint32_t size = 1) const;

    // Ends the service with a signal and waits for its end.
    Outcome StopService(int signal);

    // Whether a process table has a record of the process.
    bool IsRegistered(pid_t pid) const;

private:
    TemporaryDirectory directory_;
    std::map<std::string, std::string> serviceVariables_;
    std::unique_ptr<Child> service_; // ends before the directory goes
};

// Bytes without repetitions, so that a chunk in the wrong place is noticed.
std::string Noise(std::size_t size);

// The real clip again and again, up to a size.
std::string ClipRepeated(std::size_t size);

// The same as ReadFile and WriteFile for a piece of a file that exists.
std::string ReadPiece(std::filesystem::path const& path, std::streamoff offset, std::size_t size);
void WritePiece(std::filesystem::path const& path, std::streamoff offset, std::string const& piece);

} // namespace e2e

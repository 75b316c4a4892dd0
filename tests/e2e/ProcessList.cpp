// The processes that use the pool, as --lproc shows them.
#include "ProcessList.h"

#include <algorithm>
#include <iomanip>
#include <regex>
#include <sstream>

#include "ProcessTable.h"

namespace e2e {
namespace {

std::regex const thread("^       - +[0-9a-f]+ file: ");

// The lines of a process's threads are next to each other, in the order of their slots.
std::string WithThreadsInOrder(std::string const& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(std::regex_replace(line, thread, "       - HANDLE file: "));
    }
    auto const isThread = [](std::string const& line) { return line.starts_with("       - "); };
    for (auto begin = lines.begin(); begin != lines.end();) {
        auto const end = std::find_if_not(begin, lines.end(), isThread);
        std::sort(begin, end);
        begin = std::find_if(end, lines.end(), isThread);
    }
    std::string ordered;
    for (std::string const& line : lines) {
        ordered += line + '\n';
    }
    return ordered;
}

} // namespace

std::string ListedProcess(int record, pid_t pid, Words const& commandLine,
                          std::vector<int> const& files) {
    std::ostringstream text;
    text << std::setw(3) << record << std::setw(6) << pid << "   ";
    for (std::string const& word : commandLine) {
        text << word << ' ';
    }
    text << '\n';
    for (int const file : files) {
        text << "       - HANDLE file: " << file << '\n';
    }
    return text.str();
}

std::string ListedService(pid_t pid, Words const& arguments, std::vector<int> const& files) {
    if (ToolsByteOrder() != std::endian::native) {
        return "";
    }
    Words commandLine{SERVICE_PATH};
    commandLine.insert(commandLine.end(), arguments.begin(), arguments.end());
    return ListedProcess(0, pid, commandLine, files);
}

Outcome ListProcesses(Recorder const& recorder) {
    Outcome outcome = recorder.Tool({"--lproc"});
    outcome.out = WithThreadsInOrder(outcome.out);
    return outcome;
}

} // namespace e2e

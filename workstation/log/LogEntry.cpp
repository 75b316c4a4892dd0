// Writes log entries to a file or to the system log.
#include "log/LogEntry.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>

#include "FileDescriptor.h"
#include "log/LogLevels.h"

namespace workstation::log {
namespace {

bool IsControl(char character) {
    auto const code = static_cast<unsigned char>(character);
    return (code < 0x20 && character != '\t') || code == 0x7F;
}

std::string OnOneLine(std::string text) {
    std::ranges::replace_if(text, IsControl, ' ');
    return text;
}

std::string FormatTime(timeval const& time) {
    tm local{};
    localtime_r(&time.tv_sec, &local);
    std::array<char, 32> seconds{};
    std::strftime(seconds.data(), seconds.size(), "%Y-%m-%dT%H:%M:%S", &local);
    std::array<char, 8> milliseconds{};
    std::snprintf(milliseconds.data(), milliseconds.size(), ".%03d",
                  static_cast<int>(time.tv_usec / 1000 % 1000));
    return std::string(seconds.data()) + milliseconds.data();
}

// O_NONBLOCK: when the file is a pipe, neither its reader nor room in it is waited for.
void AppendToFile(char const* path, std::string const& line) {
    FileDescriptor const file(
        open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600));
    if (file) {
        static_cast<void>(!write(file.Get(), line.data(), line.size()));
    }
}

// openlog keeps only the pointer to the name, so it is called for each entry.
void SendToSyslog(LogEntry const& entry) {
    static std::mutex mutex;
    std::lock_guard const lock(mutex);
    openlog(entry.processName.c_str(), 0, LOG_USER);
    syslog(entry.priority, "%s", OnOneLine(entry.text).c_str());
    closelog();
}

} // namespace

std::string FormatLogLine(LogEntry const& entry, timeval const& time) {
    return FormatTime(time) + ' ' + OnOneLine(entry.processName + ": " + entry.text) + '\n';
}

int SyslogPriority(int level) {
    return (static_cast<unsigned int>(level) & errorsAndNotifications) != 0 ? LOG_NOTICE : LOG_INFO;
}

void WriteLogEntry(LogEntry const& entry) {
    char const* const path = std::getenv("STREAMMGR_LOG");
    if (path == nullptr || *path == '\0') {
        SendToSyslog(entry);
        return;
    }
    timeval now{};
    gettimeofday(&now, nullptr);
    AppendToFile(path, FormatLogLine(entry, now));
}

} // namespace workstation::log

// Writes log entries to a file or to the system log.
#pragma once

#include <sys/time.h>

#include <string>

namespace workstation::log {

struct LogEntry {
    int priority; // of syslog(3); a log file does not show it
    std::string processName;
    std::string text;
};

// The line of an entry in a log file, in local time:
// "2026-01-31T13:45:10.123 StreamMgrCli_1234: text\n". Control characters other than the tab are
// replaced by blanks, so that an entry stays on one line.
std::string FormatLogLine(LogEntry const& entry, timeval const& time);

// The syslog(3) priority of an entry of which only the level is known. Level 1 does not distinguish
// errors from notifications.
int SyslogPriority(int level);

// Appends the entry to the file STREAMMGR_LOG in one write, or sends it to syslog(3) when that
// variable is not set. May be called by several threads. An entry that cannot be written is lost.
void WriteLogEntry(LogEntry const& entry);

} // namespace workstation::log

// Writes log entries to a file or to the system log.
#pragma once

#include <sys/time.h>

#include <string>

namespace workstation::log {

struct LogEntry {
    int level; // level bits: 1 errors and notifications, 2 notes
    std::string processName;
    std::string text;
};

// The line of an entry in a log file, in local time:
// "2026-01-31T13:45:10.123 StreamMgrCli_1234: text\n". Control characters other than the tab become
// blanks, so that an entry stays one line.
std::string FormatLogLine(LogEntry const& entry, timeval const& time);

// The syslog(3) priority of a level.
int SyslogPriority(int level);

// Appends the entry to the file named by STREAMMGR_LOG, in one piece; without that variable it goes
// to syslog(3). May be called from several threads. An entry that cannot be written is lost.
void WriteLogEntry(LogEntry const& entry);

} // namespace workstation::log

// Entries of the tool in the system log.
#pragma once

#include <ostream>
#include <string_view>

#include "LogClient.h"
#include "SysLogMsg.h"

namespace common {

// Level bits.
enum LogLevel : unsigned int {
    logError = 1, // errors and notifications
    logNote = 2,
};

// Writes an entry when its level is on; the level is read again for each entry. Deliberate: every
// entry begins with "StreamMgrCli:", whichever file it is written from, and the line of the caller.
inline void LogEntry(LogLevel level, std::string_view text, int line = __builtin_LINE()) {
    if ((LogClient::Instance()->Level() & level) == 0) {
        return;
    }
    SysLogMsg entry;
    entry.Log(static_cast<int>(level), LogClient::Instance()->ProcessName())
        << "StreamMgrCli:" << line << " " << text;
}

} // namespace common

// A log entry for the system log.
#include "SysLogMsg.h"

#include "log/LogEntry.h"

SysLogMsg::SysLogMsg() = default;

// Level 0: Log was never called, so there is no entry. An entry that cannot be written is lost, and
// never ends the process.
SysLogMsg::~SysLogMsg() {
    if (level_ == 0) {
        return;
    }
    using namespace workstation::log;
    try {
        WriteLogEntry({SyslogPriority(level_), processName_, text_.str()});
    } catch (...) {
    }
}

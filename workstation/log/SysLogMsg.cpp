// A log entry for the system log.
#include "SysLogMsg.h"

#include "log/LogEntry.h"

SysLogMsg::SysLogMsg() = default;

// Level 0 says that Log was never called: there is no entry. What cannot be written is lost; a log
// entry never ends the process that wrote it.
SysLogMsg::~SysLogMsg() {
    if (level_ == 0) {
        return;
    }
    try {
        workstation::log::WriteLogEntry({level_, processName_, text_.str()});
    } catch (...) {
    }
}

// A log entry for the system log.
#pragma once

#include "LogMsg.h"

class SysLogMsg : public LogMsg {
public:
    SysLogMsg();
    // Writes the entry.
    ~SysLogMsg() override;
};

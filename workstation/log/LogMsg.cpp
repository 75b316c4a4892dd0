// A log entry before it is written.
#include "LogMsg.h"

LogMsg::LogMsg() = default;
LogMsg::~LogMsg() = default;

std::ostream& LogMsg::Log(int level, std::string const& processName) {
    level_ = level;
    processName_ = processName;
    return text_;
}

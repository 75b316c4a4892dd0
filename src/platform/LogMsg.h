// A log entry before it is written.
#pragma once

#include <ostream>
#include <sstream>
#include <string>

class LogMsg {
public:
    virtual ~LogMsg();

    LogMsg(LogMsg const&) = delete;
    LogMsg& operator=(LogMsg const&) = delete;

    // Sets the level bit of the entry and the name of the process, and returns the stream for the
    // text of the entry. The stream belongs to this object.
    std::ostream& Log(int level, std::string const& processName);

protected:
    LogMsg();

    int level_ = 0;
    std::string processName_;
    std::ostringstream text_;
};

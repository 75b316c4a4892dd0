// A log entry in the making.
#pragma once

#include <ostream>
#include <sstream>
#include <string>

class LogMsg {
public:
    virtual ~LogMsg();

    LogMsg(LogMsg const&) = delete;
    LogMsg& operator=(LogMsg const&) = delete;

    // The stream that takes the text of the entry; it belongs to this object. `level` is the level
    // bit of the entry.
    std::ostream& Log(int level, std::string const& processName);

protected:
    LogMsg();

    int level_ = 0;
    std::string processName_;
    std::ostringstream text_;
};

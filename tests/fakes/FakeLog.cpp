// The log: entries go into the record.
#include "LogClient.h"
#include "SysLogMsg.h"

#include "FakePlatform.h"
#include "Show.h"

LogClient* LogClient::Instance() {
    static LogClient client;
    return &client;
}

LogClient::LogClient()
    : level_(1) {}

unsigned int LogClient::Level() const {
    FakePlatform::Get().Note("log.Level()");
    return level_;
}

void LogClient::Level(unsigned int level) {
    level_ = level;
}

std::string const& LogClient::ProcessName() const {
    return processName_;
}

void LogClient::ProcessName(std::string const& name) {
    FakePlatform::Get().Note("log.ProcessName(" + Show(name) + ")");
    processName_ = name;
}

LogMsg::LogMsg() = default;

LogMsg::~LogMsg() = default;

std::ostream& LogMsg::Log(int level, std::string const& processName) {
    FakePlatform& platform = FakePlatform::Get();
    FakePlatform::Unrecorded const unrecorded(platform);
    if ((LogClient::Instance()->Level() & static_cast<unsigned int>(level)) == 0) {
        platform.Breach("an entry whose level is off");
    }
    level_ = level;
    processName_ = processName;
    return text_;
}

SysLogMsg::SysLogMsg() = default;

SysLogMsg::~SysLogMsg() {
    if (level_ == 0) { // Log was never called: there is no entry
        return;
    }
    FakePlatform::Get().Note("SysLogMsg(" + ShowAll(level_, processName_, text_.str()) + ")");
}

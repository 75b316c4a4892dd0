// What this process logs, and under which name.
#include "LogClient.h"

#include <cerrno> // program_invocation_short_name

#include <charconv>
#include <cstdlib>
#include <string_view>

#include "log/LogLevels.h"

namespace {

// The level that the environment gives; the default when its text is no number.
unsigned int LevelAtStart() {
    char const* const value = std::getenv("STREAMMGR_LOGLEVEL");
    std::string_view const text = value != nullptr ? value : "";
    unsigned int level = 0;
    auto const end = text.data() + text.size();
    auto const result = std::from_chars(text.data(), end, level);
    return result.ec == std::errc() && result.ptr == end ? level
                                                         : workstation::log::errorsAndNotifications;
}

} // namespace

LogClient* LogClient::Instance() {
    static auto* const client = new LogClient;
    return client;
}

LogClient::LogClient()
    : level_(LevelAtStart())
    , processName_(program_invocation_short_name) {}

unsigned int LogClient::Level() const {
    return level_;
}

void LogClient::Level(unsigned int level) {
    level_ = level;
}

std::string const& LogClient::ProcessName() const {
    return processName_;
}

void LogClient::ProcessName(std::string const& name) {
    processName_ = name;
}

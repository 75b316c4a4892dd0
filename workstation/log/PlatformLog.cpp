// Entries of the platform and of the service in the log.
#include "log/PlatformLog.h"

#include "LogClient.h"
#include "SysLogMsg.h"

namespace workstation::log {
namespace {

void Log(unsigned int level, std::string_view text) {
    LogClient const& client = *LogClient::Instance();
    if ((client.Level() & level) == 0) {
        return;
    }
    SysLogMsg entry;
    entry.Log(static_cast<int>(level), client.ProcessName()) << text;
}

} // namespace

void LogNotification(std::string_view text) {
    Log(1, text);
}

void LogNote(std::string_view text) {
    Log(2, text);
}

} // namespace workstation::log

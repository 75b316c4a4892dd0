// Log entries of the platform and of the service.
#include "log/PlatformLog.h"

#include "LogClient.h"
#include "SysLogMsg.h"
#include "log/LogLevels.h"

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
    Log(errorsAndNotifications, text);
}

void LogNote(std::string_view text) {
    Log(notes, text);
}

} // namespace workstation::log

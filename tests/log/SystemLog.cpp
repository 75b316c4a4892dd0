// The system log, as a test reads it.
#include "log/SystemLog.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>

std::vector<std::string> SystemLog::entries;
std::string SystemLog::ident;

namespace {

void Take(int priority, char const* format, std::va_list arguments) {
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    SystemLog::entries.push_back(SystemLog::ident + '|' + std::to_string(priority) + '|' + text);
}

} // namespace

extern "C" {

void openlog(char const* name, int options, int facility) {
    SystemLog::ident = name;
    SystemLog::ident += '|' + std::to_string(facility | options);
}

void syslog(int priority, char const* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    Take(priority, format, arguments);
    va_end(arguments);
}

// What the call becomes in a hardened build.
void __syslog_chk(int priority, int /*flag*/, char const* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    Take(priority, format, arguments);
    va_end(arguments);
}

void closelog() {
    SystemLog::ident.clear();
}

} // extern "C"

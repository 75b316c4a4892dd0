// The system log, as a test reads it.
#pragma once

#include <string>
#include <vector>

// The entries that this program sends to syslog(3), in place of the C library's: each
// "IDENT|FACILITY AND OPTIONS|PRIORITY|TEXT".
struct SystemLog {
    static std::vector<std::string> entries;
    static std::string ident; // empty when the log is closed
};

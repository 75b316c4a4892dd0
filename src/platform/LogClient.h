// The log level of this process and its name in the log.
#pragma once

#include <atomic>
#include <string>

class LogClient {
public:
    // The log client of this process. Never destroyed.
    static LogClient* Instance();

    // Level bits: 1 errors and notifications, 2 notes. The caller checks the bit of the entry
    // first and writes the entry only when the bit is set.
    unsigned int Level() const;
    void Level(unsigned int level);

    // The name of the process in its entries. To be set before any thread is started.
    std::string const& ProcessName() const;
    void ProcessName(std::string const& name);

private:
    LogClient();

    std::atomic<unsigned int> level_;
    std::string processName_;
};

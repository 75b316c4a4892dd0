// What this process logs, and under which name.
#pragma once

#include <atomic>
#include <string>

class LogClient {
public:
    // The only client. Never destroyed.
    static LogClient* Instance();

    // Level bits: 1 errors and notifications, 2 notes. An entry is written only when its bit is
    // set; asking comes before making the entry.
    unsigned int Level() const;
    void Level(unsigned int level);

    // The name that entries are written under. Set before any thread is started.
    std::string const& ProcessName() const;
    void ProcessName(std::string const& name);

private:
    LogClient();

    std::atomic<unsigned int> level_;
    std::string processName_;
};

// The log of a test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "LogClient.h"

// Has log entries written to a file of its own, and gives their texts.
class LogFile {
public:
    explicit LogFile(std::filesystem::path path)
        : path_(std::move(path)) {
        setenv("STREAMMGR_LOG", path_.c_str(), 1);
        LogClient::Instance()->ProcessName("StreamMgr");
        LogClient::Instance()->Level(3);
    }
    ~LogFile() {
        unsetenv("STREAMMGR_LOG");
        LogClient::Instance()->Level(1);
    }

    LogFile(LogFile const&) = delete;
    LogFile& operator=(LogFile const&) = delete;

    // What stands behind time and process name, entry after entry.
    std::vector<std::string> Entries() const {
        std::vector<std::string> entries;
        std::ifstream file(path_);
        for (std::string line; std::getline(file, line);) {
            auto const text = line.find("StreamMgr: ");
            entries.push_back(text == std::string::npos ? line : line.substr(text + 11));
        }
        return entries;
    }

private:
    std::filesystem::path path_;
};

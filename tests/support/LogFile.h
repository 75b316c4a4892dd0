// The log of a test.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "LogClient.h"
#include "log/LogLevels.h"
#include "support/DirectoryWatch.h"
#include "support/Event.h"

// Directs the log to a file of its own with all levels, and reads the entries.
class LogFile {
public:
    explicit LogFile(std::filesystem::path path)
        : path_(std::move(path)) {
        setenv("STREAMMGR_LOG", path_.c_str(), 1);
        LogClient::Instance()->ProcessName("StreamMgr");
        LogClient::Instance()->Level(workstation::log::allLevels);
    }
    ~LogFile() {
        unsetenv("STREAMMGR_LOG");
        LogClient::Instance()->Level(workstation::log::errorsAndNotifications);
    }

    LogFile(LogFile const&) = delete;
    LogFile& operator=(LogFile const&) = delete;

    // The texts of the entries, without time and process name.
    std::vector<std::string> Entries() const {
        std::vector<std::string> entries;
        std::ifstream file(path_);
        for (std::string line; std::getline(file, line);) {
            auto const text = line.find("StreamMgr: ");
            entries.push_back(text == std::string::npos ? line : line.substr(text + 11));
        }
        return entries;
    }

    // Waits for an entry that contains the text.
    void Await(std::string const& text) const {
        EXPECT_TRUE(AwaitInDirectory(path_.parent_path(), std::chrono::milliseconds(patienceMs),
                                     [&] { return Has(text); }))
            << "not in the log: " << text;
    }

private:
    bool Has(std::string const& text) const {
        return std::ranges::any_of(Entries(), [&](std::string const& entry) {
            return entry.find(text) != std::string::npos;
        });
    }

    std::filesystem::path path_;
};

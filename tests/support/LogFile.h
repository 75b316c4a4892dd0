// The log of a test.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "FileDescriptor.h"
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

    // Waits for an entry that contains the text.
    void Await(std::string const& text) const {
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        workstation::FileDescriptor const changes(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
        inotify_add_watch(changes.Get(), path_.parent_path().c_str(), IN_MODIFY | IN_CREATE);
        while (!Has(text)) {
            auto const left = std::chrono::ceil<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            pollfd change{changes.Get(), POLLIN, 0};
            if (left.count() <= 0 || poll(&change, 1, static_cast<int>(left.count())) <= 0) {
                ADD_FAILURE() << "not in the log: " << text;
                return;
            }
            std::array<char, 4096> events{};
            static_cast<void>(!read(changes.Get(), events.data(), events.size()));
        }
    }

private:
    bool Has(std::string const& text) const {
        return std::ranges::any_of(Entries(), [&](std::string const& entry) {
            return entry.find(text) != std::string::npos;
        });
    }

    std::filesystem::path path_;
};

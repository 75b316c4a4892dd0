// The state of a directory, to show that it has not changed.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

// Sizes, and times of modification and change, of the directory and all files in it, by path. The
// time of change shows that a content has changed.
inline std::map<std::string, std::vector<std::int64_t>> Snapshot(std::string const& directory) {
    std::map<std::string, std::vector<std::int64_t>> files;
    std::vector<std::string> paths{directory};
    for (auto const& entry : std::filesystem::recursive_directory_iterator(directory)) {
        paths.push_back(entry.path());
    }
    for (std::string const& path : paths) {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        files[path] = {status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec,
                       status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
    }
    return files;
}

// A recorder's directory of a test's own.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

// Sets STREAMMGR_ROOT to a new directory, and takes both away again.
class TemporaryRoot {
public:
    TemporaryRoot() {
        std::string pattern = std::filesystem::temp_directory_path() / "streammgr-test-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("mkdtemp failed");
        }
        path_ = pattern;
        setenv("STREAMMGR_ROOT", path_.c_str(), 1);
    }
    ~TemporaryRoot() {
        unsetenv("STREAMMGR_ROOT");
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    TemporaryRoot(TemporaryRoot const&) = delete;
    TemporaryRoot& operator=(TemporaryRoot const&) = delete;

    std::filesystem::path const& Path() const { return path_; }
    std::filesystem::path Ipc() const { return path_ / "ipc"; }

private:
    std::filesystem::path path_;
};

// A directory for one test.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

// A new directory; the destructor removes it with its contents.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern = std::filesystem::temp_directory_path() / "streammgr-test-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), pattern);
        }
        path_ = pattern;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

    std::string const& Path() const { return path_; }
    std::string Path(std::string const& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

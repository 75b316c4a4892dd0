// Files of a test, removed when it ends.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "FileDescriptor.h"
#include "support/TemporaryDirectory.h"

namespace recording_test {

class TestDirectory {
public:
    std::string Path(std::string const& name) const { return directory_.Path(name); }

    // Makes a file. Its path.
    std::string Write(std::string const& name, std::string const& content) const {
        std::ofstream file(Path(name), std::ios::binary);
        file << content;
        file.close();
        EXPECT_TRUE(file.good()) << name;
        return Path(name);
    }
    std::string Write(std::string const& name, std::vector<unsigned char> const& content) const {
        return Write(name, std::string(content.begin(), content.end()));
    }

    std::string Fifo(std::string const& name) const {
        EXPECT_EQ(mkfifo(Path(name).c_str(), 0600), 0);
        return Path(name);
    }

private:
    TemporaryDirectory directory_;
};

// While it lives, standard input is that file.
class StandardInput {
public:
    explicit StandardInput(std::string const& path)
        : StandardInput(workstation::FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC))) {}
    explicit StandardInput(workstation::FileDescriptor const& file)
        : former_(dup(STDIN_FILENO)) {
        EXPECT_EQ(dup2(file.Get(), STDIN_FILENO), STDIN_FILENO);
    }
    ~StandardInput() { dup2(former_.Get(), STDIN_FILENO); }

    StandardInput(StandardInput const&) = delete;
    StandardInput& operator=(StandardInput const&) = delete;

private:
    workstation::FileDescriptor former_;
};

} // namespace recording_test

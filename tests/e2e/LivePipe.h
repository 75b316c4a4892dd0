// A FIFO with a writer that stays, as a live source.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "Child.h"
#include "FileDescriptor.h"

namespace e2e {

class LivePipe {
public:
    explicit LivePipe(std::filesystem::path path)
        : path_(std::move(path)) {
        EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
        pipe_.Reset(open(path_.c_str(), O_RDWR | O_CLOEXEC)); // as a writer, it would wait
    }

    std::string Path() const { return path_; }

    // Waits for the reader as long as the pipe is full.
    void Write(std::string const& text) const {
        for (std::size_t done = 0; done < text.size();) {
            ssize_t const size = write(pipe_.Get(), text.data() + done, text.size() - done);
            ASSERT_GT(size, 0);
            done += static_cast<std::size_t>(size);
        }
    }

    // Waits until all that was written has been read.
    void AwaitRead() const {
        auto const deadline = std::chrono::steady_clock::now() + patience;
        for (int left = 1; left > 0; poll(nullptr, 0, 5)) { // a pipe does not report it
            ASSERT_EQ(ioctl(pipe_.Get(), FIONREAD, &left), 0);
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        }
    }

    // The writer goes.
    void Close() { pipe_.Reset(); }

private:
    std::filesystem::path path_;
    workstation::FileDescriptor pipe_;
};

} // namespace e2e

// A disk that seems to have no more room for a file.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

namespace workstation {

// While it lives, nothing can be written beyond a place in any file.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t limit)
        : formerHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &former_);
        rlimit limits = former_;
        limits.rlim_cur = limit;
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limits), 0);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &former_);
        std::signal(SIGXFSZ, formerHandler_);
    }
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;

private:
    rlimit former_{};
    void (*formerHandler_)(int);
};

} // namespace workstation

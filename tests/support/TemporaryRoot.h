// A recorder's directory of a test's own.
#pragma once

#include <cstdlib>
#include <filesystem>

#include "support/TemporaryDirectory.h"

// Sets STREAMMGR_ROOT to a new directory; the destructor removes both.
class TemporaryRoot {
public:
    TemporaryRoot() { Use(); }
    ~TemporaryRoot() { unsetenv("STREAMMGR_ROOT"); }

    TemporaryRoot(TemporaryRoot const&) = delete;
    TemporaryRoot& operator=(TemporaryRoot const&) = delete;

    std::filesystem::path Path() const { return directory_.Path(); }
    std::filesystem::path Ipc() const { return Path() / "ipc"; }

    // Sets STREAMMGR_ROOT to this directory again, after it was set to another one.
    void Use() const { setenv("STREAMMGR_ROOT", directory_.Path().c_str(), 1); }

private:
    TemporaryDirectory directory_;
};

// Places where nothing can be changed, for tests of what only reads.
#pragma once

#include <fcntl.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "FileDescriptor.h"
#include "support/ChildProcess.h"

// The status of a body that could not be run.
constexpr int cannotMount = 77;

// Runs `body` in a process that sees the directory read-only, and returns its status.
inline int RunOnReadOnlyMount(std::string const& directory, std::function<int()> const& body) {
    ChildProcess child([&] {
        int const user = getuid() == 0 ? 0 : CLONE_NEWUSER;
        bool const isReadOnly =
            unshare(CLONE_NEWNS | user) == 0 &&
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
            mount(directory.c_str(), directory.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
            mount(nullptr, directory.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) ==
                0;
        return isReadOnly ? body() : cannotMount;
    });
    return child.Wait();
}

// A file that also root cannot change as long as the object lives.
class ImmutableFile {
public:
    explicit ImmutableFile(std::string const& path)
        : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC))
        , isSet_(Change([](int flags) { return flags | FS_IMMUTABLE_FL; })) {}
    ~ImmutableFile() {
        if (isSet_) {
            Change([](int flags) { return flags & ~FS_IMMUTABLE_FL; });
        }
    }

    ImmutableFile(ImmutableFile const&) = delete;
    ImmutableFile& operator=(ImmutableFile const&) = delete;

    // False where the file system or the user's rights do not allow it.
    bool IsSet() const { return isSet_; }

private:
    template <typename NewFlags>
    bool Change(NewFlags newFlags) const {
        int flags = 0;
        if (ioctl(file_.Get(), FS_IOC_GETFLAGS, &flags) != 0) {
            return false;
        }
        flags = newFlags(flags);
        return ioctl(file_.Get(), FS_IOC_SETFLAGS, &flags) == 0;
    }

    workstation::FileDescriptor file_;
    bool isSet_;
};

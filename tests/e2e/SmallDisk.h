// A hard disk that soon is full.
#pragma once

#include <sys/mount.h>

#include <cstddef>
#include <filesystem>
#include <string>

namespace e2e {

// A small file system in memory, mounted for as long as the object lives.
class SmallDisk {
public:
    SmallDisk(std::filesystem::path const& path, std::size_t size)
        : path_(path)
        , isMounted_(mount("tmpfs", path.c_str(), "tmpfs", 0,
                           ("size=" + std::to_string(size)).c_str()) == 0) {}
    ~SmallDisk() {
        if (isMounted_) {
            umount2(path_.c_str(), MNT_DETACH);
        }
    }
    SmallDisk(SmallDisk const&) = delete;
    SmallDisk& operator=(SmallDisk const&) = delete;

    bool IsMounted() const { return isMounted_; }

private:
    std::filesystem::path path_;
    bool isMounted_;
};

} // namespace e2e

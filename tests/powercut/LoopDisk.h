// A disk whose power can be cut: a file system of its own in a loop device.
#pragma once

#include <filesystem>
#include <string>

#include "FileDescriptor.h"

namespace powercut {

// What this process mounts from now on is seen by it and its children only, and goes with them.
// Throws std::runtime_error when that is not allowed.
void HideMounts();

// The image is a file without a name, the loop device detaches itself, and the disk is mounted in a
// mount namespace of this process and its children: when they have ended, however they ended,
// nothing is left of it.
class LoopDisk {
public:
    // Makes a file system of this kind, "ext4" or "xfs". Throws std::runtime_error when that fails.
    explicit LoopDisk(std::string fileSystem);

    LoopDisk(LoopDisk const&) = delete;
    LoopDisk& operator=(LoopDisk const&) = delete;
    ~LoopDisk();

    // Why such a disk cannot be made here; empty when it can.
    static std::string WhyNot();

    void Mount(std::filesystem::path const& path);

    // Shuts the file system down without a flush, as a loss of power does: from now on nothing
    // reaches the image. Reading what is cached still works.
    void CutPower() const;

    // All files of the disk must be closed. Nothing happens when it is not mounted.
    void Unmount();

private:
    std::string fileSystem_;
    std::string devicePath_;
    workstation::FileDescriptor device_;
    std::filesystem::path mountPoint_; // empty while it is not mounted
};

} // namespace powercut

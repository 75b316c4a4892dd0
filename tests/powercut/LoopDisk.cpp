// A disk whose power can be cut: a file system of its own in a loop device.
#include "powercut/LoopDisk.h"

#include <fcntl.h>
#include <linux/loop.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "e2e/Child.h"

namespace powercut {
namespace {

namespace fs = std::filesystem;
using workstation::FileDescriptor;

// Sparse: what the tests write takes a tenth of it. xfs takes no less than 300 MB.
constexpr off_t diskSize = off_t{1} << 30;

[[noreturn]] void Throw(std::string const& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

FileDescriptor MakeImage() {
    FileDescriptor image(
        open(fs::temp_directory_path().c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!image || ftruncate(image.Get(), diskSize) != 0) {
        Throw("image of a disk");
    }
    return image;
}

// Attaches the image to a free loop device, whose path is stored in `path`. Null when another
// process took the device first.
FileDescriptor TryAttach(FileDescriptor const& image, std::string& path) {
    FileDescriptor const control(open("/dev/loop-control", O_RDWR | O_CLOEXEC));
    int const number = control ? ioctl(control.Get(), LOOP_CTL_GET_FREE) : -1;
    if (number < 0) {
        Throw("/dev/loop-control");
    }
    path = "/dev/loop" + std::to_string(number);
    FileDescriptor device(open(path.c_str(), O_RDWR | O_CLOEXEC));
    if (!device) {
        Throw(path);
    }
    loop_config config{};
    config.fd = static_cast<std::uint32_t>(image.Get());
    config.info.lo_flags = LO_FLAGS_AUTOCLEAR;
    if (ioctl(device.Get(), LOOP_CONFIGURE, &config) == 0) {
        return device;
    }
    if (errno != EBUSY) {
        Throw(path);
    }
    return {};
}

// Attaches the image; other tests do the same at the same time.
FileDescriptor Attach(FileDescriptor const& image, std::string& path) {
    while (true) {
        if (FileDescriptor device = TryAttach(image, path)) {
            return device;
        }
    }
}

void Run(e2e::Command const& command) {
    e2e::Outcome const outcome = e2e::RunToEnd(command);
    if (outcome.status != 0) {
        throw std::runtime_error(command.words.front() + ": " + outcome.out + outcome.err);
    }
}

} // namespace

void HideMounts() {
    static bool const hidden = [] {
        return unshare(CLONE_NEWNS) == 0 &&
               mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }();
    if (!hidden) {
        Throw("mount namespace");
    }
}

LoopDisk::LoopDisk(std::string fileSystem)
    : fileSystem_(std::move(fileSystem))
    , device_(Attach(MakeImage(), devicePath_)) {
    HideMounts();
    e2e::Command make{{"mkfs." + fileSystem_, "-q", devicePath_}};
    make.environment["PATH"] = "/usr/sbin:/sbin:/usr/bin:/bin";
    Run(make);
}

LoopDisk::~LoopDisk() {
    if (!mountPoint_.empty()) {
        umount2(mountPoint_.c_str(), MNT_DETACH); // also while a program that failed has it open
    }
}

std::string LoopDisk::WhyNot() {
    if (geteuid() != 0) {
        return "only the superuser may mount a file system";
    }
    try {
        std::string path;
        Attach(MakeImage(), path);
        HideMounts();
    } catch (std::runtime_error const& error) {
        return std::string("no loop device: ") + error.what();
    }
    return "";
}

void LoopDisk::Mount(fs::path const& path) {
    if (mount(devicePath_.c_str(), path.c_str(), fileSystem_.c_str(), 0, nullptr) != 0) {
        Throw("mount of " + devicePath_);
    }
    mountPoint_ = path;
}

void LoopDisk::CutPower() const {
    e2e::Command cut{{"xfs_io", "-x", "-c", "shutdown", mountPoint_}};
    cut.environment["PATH"] = "/usr/sbin:/sbin:/usr/bin:/bin";
    Run(cut);
}

void LoopDisk::Unmount() {
    if (!mountPoint_.empty() && umount2(mountPoint_.c_str(), 0) != 0) {
        Throw("umount " + mountPoint_.string());
    }
    mountPoint_.clear();
}

} // namespace powercut

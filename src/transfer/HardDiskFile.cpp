// Plain files on the hard-disk mount.
#include "transfer/HardDiskFile.h"

#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

#include "transfer/ErrorLines.h"

namespace transfer {
namespace {

int Open(std::string const& path, HardDiskFile::Use use) {
    return use == HardDiskFile::Use::read ? open(path.c_str(), O_RDONLY)
                                          : open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
}

} // namespace

std::string HardDiskPath(std::string const& fileName) {
    char const* const mount = std::getenv("STREAMMGR_HD");
    bool const isSet = mount != nullptr && *mount != '\0';
    return std::string(isSet ? mount : "/mnt/hd") + "/" + fileName;
}

HardDiskFile::HardDiskFile(std::string const& path, Use use)
    : descriptor_(Open(path, use)) {
    // Deliberate: the line says "outfile" for a source as well.
    if (!IsOpen()) {
        SystemErrorLine({"Could not open outfile '", path, "': "});
    }
}

HardDiskFile::~HardDiskFile() {
    if (IsOpen()) {
        close(descriptor_);
    }
}

std::optional<long> HardDiskFile::Size() const {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0 ||
        static_cast<std::int64_t>(status.st_size) > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<long>(status.st_size);
}

std::optional<unsigned int> HardDiskFile::Read(unsigned char* bytes, unsigned int count) {
    ssize_t const got = read(descriptor_, bytes, count);
    if (got != -1) {
        return static_cast<unsigned int>(got);
    }
    SystemErrorLine({"Unexpected read status: "});
    return std::nullopt;
}

bool HardDiskFile::Write(unsigned char const* bytes, int count) {
    // A negative count, which a pool read may return, becomes a size that the system refuses.
    if (write(descriptor_, bytes, static_cast<std::size_t>(count)) != -1) {
        return true;
    }
    SystemErrorLine({"Unexpected write status: "});
    return false;
}

} // namespace transfer

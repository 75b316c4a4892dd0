// Plain files on the hard-disk mount.
#include "HardDiskFile.h"

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "Messages.h"

namespace streamfile {

std::string HardDiskPath(std::string const& fileName) {
    char const* const mount = std::getenv("STREAMMGR_HD");
    bool const isSet = mount != nullptr && *mount != '\0';
    return std::string(isSet ? mount : "/mnt/hd") + "/" + fileName;
}

HardDiskFile::HardDiskFile(std::string const& path)
    : descriptor_(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644)) {
    if (!IsOpen())
        SystemErrorLine({"Could not open outfile '", path, "': "});
}

HardDiskFile::~HardDiskFile() {
    if (IsOpen())
        close(descriptor_);
}

bool HardDiskFile::Write(unsigned char const* bytes, unsigned int count) {
    if (write(descriptor_, bytes, count) != -1)
        return true;
    SystemErrorLine({"Unexpected write status: "});
    return false;
}

} // namespace streamfile

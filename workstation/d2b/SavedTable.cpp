// The copy of a pool image's header and table of files that is kept before a repair.
#include "d2b/SavedTable.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <vector>

#include "Failure.h"
#include "FileDescriptor.h"
#include "NewFile.h"
#include "pool/PoolLayout.h"

namespace workstation::d2b {
namespace {

std::vector<unsigned char> ReadTable(std::string const& image, std::uint32_t fileCount) {
    FileDescriptor const file(open(image.c_str(), O_RDONLY | O_CLOEXEC));
    std::vector<unsigned char> bytes(static_cast<std::size_t>(pool::PoolDataOffset(fileCount)));
    ssize_t const got = pread(file.Get(), bytes.data(), bytes.size(), 0);
    if (got < 0) {
        throw SystemFailure("cannot read the table of '" + image + "'");
    }
    bytes.resize(static_cast<std::size_t>(got));
    return bytes;
}

// Links the file under the name, or under the first name with a number that is free.
std::string LinkAs(std::string const& file, std::string const& name) {
    std::string path = name;
    for (int number = 2; link(file.c_str(), path.c_str()) != 0; ++number) {
        if (errno != EEXIST) {
            throw SystemFailure("cannot write '" + path + "'");
        }
        path = name + "-" + std::to_string(number);
    }
    return path;
}

std::string Now() {
    std::time_t const now = std::time(nullptr);
    std::tm local{};
    std::array<char, 16> text{}; // YYYYMMDD-HHMMSS
    localtime_r(&now, &local);
    std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &local);
    return text.data();
}

} // namespace

std::string SaveTable(std::string const& image, std::uint32_t fileCount) {
    auto const bytes = ReadTable(image, fileCount);
    std::string const name = image + ".table-" + Now();
    std::string temporary = name + ".XXXXXX";
    FileDescriptor const file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) {
        throw SystemFailure("cannot write '" + name + "'");
    }
    UnfinishedFile const unfinished(temporary);
    if (write(file.Get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) ||
        fsync(file.Get()) != 0) {
        throw SystemFailure("cannot write '" + name + "'");
    }
    std::string path = LinkAs(temporary, name);
    SyncDirectory(std::filesystem::path(image).parent_path());
    return path;
}

} // namespace workstation::d2b

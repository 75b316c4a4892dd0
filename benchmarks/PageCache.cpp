// What of a file lies in memory.
#include "PageCache.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

#include "FileDescriptor.h"

namespace benchmarks {
namespace {

using workstation::FileDescriptor;

// Nothing is resident of a file that is empty or cannot be asked about.
double ResidentPart(int file, std::size_t size) {
    auto const pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::vector<unsigned char> pages((size + pageSize - 1) / pageSize);
    void* const mapping = mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
    if (pages.empty() || mapping == MAP_FAILED) {
        return 0;
    }
    mincore(mapping, size, pages.data());
    munmap(mapping, size);
    auto const resident = std::ranges::count_if(pages, [](auto page) { return (page & 1U) != 0; });
    return static_cast<double>(resident) / static_cast<double>(pages.size());
}

} // namespace

bool EvictFromPageCache(std::string const& path) {
    constexpr double neglected = 0.01;
    FileDescriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (!file || fsync(file.Get()) != 0 || fstat(file.Get(), &status) != 0) {
        return false;
    }
    errno = posix_fadvise(file.Get(), 0, 0, POSIX_FADV_DONTNEED);
    if (errno == 0 &&
        ResidentPart(file.Get(), static_cast<std::size_t>(status.st_size)) > neglected) {
        errno = ENOTSUP;
    }
    return errno == 0;
}

bool ReadIntoPageCache(std::string const& path) {
    FileDescriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 65536> buffer{};
    ssize_t count = file ? 1 : -1;
    while (count > 0) {
        count = read(file.Get(), buffer.data(), buffer.size());
    }
    return count == 0;
}

} // namespace benchmarks

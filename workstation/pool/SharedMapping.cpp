// A file in memory, shared with every other process that maps it.
#include "pool/SharedMapping.h"

#include <sys/mman.h>

#include <utility>

#include "Failure.h"

namespace workstation::pool {

SharedMapping::SharedMapping(int descriptor, std::size_t size, Access access,
                             std::string const& problem)
    : size_(size) {
    int const protection = access == Access::readWrite ? PROT_READ | PROT_WRITE : PROT_READ;
    data_ = mmap(nullptr, size, protection, MAP_SHARED, descriptor, 0);
    if (data_ == MAP_FAILED) {
        throw SystemFailure(problem);
    }
}

SharedMapping::~SharedMapping() {
    if (data_ != nullptr) {
        munmap(data_, size_);
    }
}

SharedMapping::SharedMapping(SharedMapping&& other) noexcept
    : data_(std::exchange(other.data_, nullptr))
    , size_(other.size_) {}

SharedMapping& SharedMapping::operator=(SharedMapping&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
}

void SharedMapping::Sync(std::string const& problem) const {
    if (msync(data_, size_, MS_SYNC) != 0) {
        throw SystemFailure(problem);
    }
}

void* SharedMapping::Release() {
    return std::exchange(data_, nullptr);
}

} // namespace workstation::pool

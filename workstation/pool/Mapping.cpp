// A piece of a file in memory, shared with every other process that maps it.
#include "pool/Mapping.h"

#include <sys/mman.h>

#include <utility>

namespace workstation::pool {

Mapping::Mapping(int descriptor, std::size_t size, Access access)
    : size_(size) {
    int const protection = access == Access::change ? PROT_READ | PROT_WRITE : PROT_READ;
    void* const data = mmap(nullptr, size, protection, MAP_SHARED, descriptor, 0);
    data_ = data == MAP_FAILED ? nullptr : data;
}

Mapping::~Mapping() {
    if (data_ != nullptr) {
        munmap(data_, size_);
    }
}

Mapping::Mapping(Mapping&& other) noexcept
    : data_(std::exchange(other.data_, nullptr))
    , size_(other.size_) {}

Mapping& Mapping::operator=(Mapping&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
}

void* Mapping::Release() {
    return std::exchange(data_, nullptr);
}

} // namespace workstation::pool

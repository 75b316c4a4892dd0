// A piece of a file in memory, shared with every other process that maps it.
#pragma once

#include <cstddef>

namespace workstation::pool {

// The one owner of a shared mapping. The descriptor may be closed once it is made.
class Mapping {
public:
    enum class Access { look, change };

    Mapping() = default;
    // The first `size` bytes of the file. Not mapped on failure, errno says why.
    Mapping(int descriptor, std::size_t size, Access access);
    ~Mapping();

    Mapping(Mapping&& other) noexcept;
    Mapping& operator=(Mapping&& other) noexcept;

    explicit operator bool() const { return data_ != nullptr; }
    void* Data() const { return data_; }

    // Hands the mapping over to the caller.
    void* Release();

private:
    void* data_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace workstation::pool

// A file in memory, shared with every other process that maps it.
#pragma once

#include <cstddef>
#include <string>

namespace workstation::pool {

// The one owner of a shared mapping. The descriptor may be closed after the mapping is made.
class SharedMapping {
public:
    enum class Access { readOnly, readWrite };

    // Maps the first `size` bytes of a file. Throws Failure, whose text begins with `problem`.
    SharedMapping(int descriptor, std::size_t size, Access access, std::string const& problem);
    ~SharedMapping();

    SharedMapping(SharedMapping&& other) noexcept;
    SharedMapping& operator=(SharedMapping&& other) noexcept;

    void* Data() const { return data_; }

    // Makes everything that was stored in the mapping so far durable. Throws Failure, whose text
    // begins with `problem`.
    void Sync(std::string const& problem) const;

    // Hands the mapping over to the caller, who unmaps it.
    void* Release();

private:
    void* data_;
    std::size_t size_;
};

} // namespace workstation::pool

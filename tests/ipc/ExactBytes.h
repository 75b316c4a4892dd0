// Payloads in memory that ends where they end.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

// A copy of the bytes in a heap block of just their size, so that a sanitizer finds a read past
// their end.
class ExactBytes {
public:
    explicit ExactBytes(std::string const& bytes)
        : size_(bytes.size())
        , bytes_(new char[bytes.size()]) {
        std::memcpy(bytes_.get(), bytes.data(), bytes.size());
    }

    char* Text() { return bytes_.get(); }
    unsigned char* Begin() { return reinterpret_cast<unsigned char*>(bytes_.get()); }
    unsigned char* End() { return Begin() + size_; }
    std::size_t Size() const { return size_; }

private:
    std::size_t size_;
    std::unique_ptr<char[]> bytes_;
};

// Text that may contain NUL characters.
inline std::string Text(char const* text, std::size_t size) {
    return {text, size};
}

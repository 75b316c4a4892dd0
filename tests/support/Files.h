// Files of a test, and what is in them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace workstation {

// All bytes of a file; empty when it is missing.
inline std::string BytesOf(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Writes over bytes of an existing file.
inline void WriteBytes(std::string const& path, std::string const& bytes, std::uint64_t offset) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

// Bytes that differ by their position, with a period that divides no chunk size.
inline std::vector<unsigned char> Pattern(std::size_t size) {
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(i % 251 + 1);
    }
    return bytes;
}

} // namespace workstation

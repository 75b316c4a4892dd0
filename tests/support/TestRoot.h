// A recorder's directory for one test.
#pragma once

#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Root.h"
#include "StreamFileAccess.h"
#include "pool/PoolImage.h"
#include "support/TemporaryRoot.h"

namespace workstation {

// A new directory that is the recorder's while the object lives.
class TestRoot {
public:
    TestRoot() = default;
    ~TestRoot() { StreamFileAccess().Unload(); }

    TestRoot(TestRoot const&) = delete;
    TestRoot& operator=(TestRoot const&) = delete;

    std::string Path() const { return root_.Path(); }
    std::string Pool() const { return root_.Path() / "pool"; }
    std::string ProcessTable() const {
        return root_.Path() / "shm" / std::filesystem::path(ProcessTablePath()).filename();
    }

    // Makes this directory the recorder's again, after another one was.
    void Use() const { root_.Use(); }

    void MakePool(std::uint32_t fileCount) const { pool::PoolImage::Create(Pool(), fileCount); }

private:
    TemporaryRoot root_;
};

inline std::string BytesOf(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteBytes(std::string const& path, std::string const& bytes, std::uint64_t offset) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

// Bytes that tell where they stand, with a period that no chunk size divides.
inline std::vector<unsigned char> Pattern(std::size_t size) {
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(i % 251 + 1);
    }
    return bytes;
}

} // namespace workstation

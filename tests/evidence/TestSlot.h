// A slot in memory, of which some pages cannot be read.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

#include "evidence/SlotReader.h"

namespace workstation::evidence {

class TestSlot : public SlotReader {
public:
    explicit TestSlot(std::vector<unsigned char> bytes, std::vector<Range> bad = {})
        : SlotReader(-1, 0, bytes.size())
        , bytes_(std::move(bytes))
        , bad_(std::move(bad)) {}

    // How many bytes were read so far.
    std::uint64_t BytesRead() const { return bytesRead_; }

protected:
    long ReadOnce(unsigned char* bytes, std::uint64_t count, std::uint64_t offset) override {
        std::uint64_t end = std::min<std::uint64_t>(offset + count, bytes_.size());
        for (Range const& range : bad_) {
            if (offset >= range.offset && offset < range.End()) {
                errno = EIO;
                return -1;
            }
            if (range.offset > offset) {
                end = std::min(end, range.offset);
            }
        }
        std::memcpy(bytes, bytes_.data() + offset, end - offset);
        bytesRead_ += end - offset;
        return static_cast<long>(end - offset);
    }

private:
    std::vector<unsigned char> bytes_;
    std::vector<Range> bad_;
    std::uint64_t bytesRead_ = 0;
};

} // namespace workstation::evidence

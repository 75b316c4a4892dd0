// The bytes of a slot, as far as they can be read.
#include "evidence/SlotReader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace workstation::evidence {
namespace {

// What the kernel reads or fails to read as a whole.
constexpr std::uint64_t pageSize = 4096;

void Append(std::vector<Range>& ranges, Range range) {
    if (!ranges.empty() && ranges.back().End() == range.offset) {
        ranges.back().bytes += range.bytes;
    } else {
        ranges.push_back(range);
    }
}

} // namespace

long SlotReader::ReadOnce(unsigned char* bytes, std::uint64_t count, std::uint64_t fileOffset) {
    return pread(descriptor_, bytes, count, static_cast<off_t>(fileOffset));
}

std::uint64_t SlotReader::ReadWhile(std::uint64_t offset, std::span<unsigned char> bytes) {
    std::uint64_t done = 0;
    while (done < bytes.size()) {
        long const got = ReadOnce(bytes.data() + done, bytes.size() - done, begin_ + offset + done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        done += static_cast<std::uint64_t>(got);
    }
    return done;
}

std::uint64_t SlotReader::NextData(std::uint64_t offset) const {
    off_t const data = lseek(descriptor_, static_cast<off_t>(begin_ + offset), SEEK_DATA);
    if (data < 0) {
        return errno == ENXIO ? length_ : offset;
    }
    return static_cast<std::uint64_t>(data) - begin_;
}

void SlotReader::Read(std::uint64_t offset, std::span<unsigned char> bytes,
                      std::vector<Range>& unreadable) {
    std::uint64_t done = ReadWhile(offset, bytes);
    while (done < bytes.size()) {
        // After an error, page by page: the next one may be readable.
        std::uint64_t const left = pageSize - (offset + done) % pageSize;
        auto const page = bytes.subspan(done).first(std::min(left, bytes.size() - done));
        std::uint64_t const got = ReadWhile(offset + done, page);
        if (got < page.size()) {
            std::ranges::fill(page.subspan(got), static_cast<unsigned char>(0));
            Append(unreadable, {offset + done + got, page.size() - got});
            done += page.size();
            continue;
        }
        done += page.size();
        done += ReadWhile(offset + done, bytes.subspan(done));
    }
}

} // namespace workstation::evidence

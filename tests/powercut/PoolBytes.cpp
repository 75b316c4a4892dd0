// A pool image as bytes: its table and its slots, read without the code that wrote them.
#include "powercut/PoolBytes.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "BigEndian.h"

namespace powercut {
namespace {

using workstation::GetBig32;
using workstation::ts::tsPacketSize;

// docs/pool-image.md
constexpr std::uint64_t pageSize = 4096;
constexpr std::uint64_t tableOffset = 4096;
constexpr std::uint64_t entrySize = 16;
constexpr std::uint64_t slotSize = 0x5E00000;
constexpr std::uint32_t fileCountOffset = 12;
constexpr std::string_view magic = "\x89"
                                   "D2B\r\n\x1a\n";

constexpr std::uint64_t chunkSize = 1024 * tsPacketSize;

// docs/system-tick.md
constexpr std::size_t tickNumberOffset = 16;
constexpr std::size_t tickTimeOffset = 20;
constexpr std::size_t tickEnd = 44;

std::optional<FoundTick> TickIn(workstation::ts::TsPacketView packet) {
    constexpr std::string_view pesHeader("\x00\x00\x01\xBF\x00\x22TICK\x02\x07", 12);
    unsigned char const* const in = packet.data();
    bool const isTick =
        in[0] == 0x47 && in[1] == 0x5F && in[2] == 0xA0 && (in[3] & 0xF0) == 0x10 &&
        std::equal(pesHeader.begin(), pesHeader.end(), in + 4,
                   [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; }) &&
        std::all_of(in + tickEnd, in + tsPacketSize, [](unsigned char b) { return b == 0xFF; });
    if (!isTick) {
        return std::nullopt;
    }
    return FoundTick{GetBig32(in + tickNumberOffset),
                     static_cast<std::int32_t>(GetBig32(in + tickTimeOffset))};
}

} // namespace

PoolBytes::PoolBytes(std::filesystem::path const& path)
    : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    std::vector<unsigned char> header(pageSize);
    Read(0, header.data(), header.size());
    if (!std::equal(magic.begin(), magic.end(), header.begin(),
                    [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; })) {
        throw std::runtime_error(path.string() + " is no pool image");
    }
    fileCount_ = static_cast<int>(GetBig32(header.data() + fileCountOffset));
}

TableEntry PoolBytes::Entry(int number) const {
    std::vector<unsigned char> entry(entrySize);
    Read(tableOffset + static_cast<std::uint64_t>(number - 1) * entrySize, entry.data(),
         entry.size());
    return {GetBig32(entry.data()), GetBig32(entry.data() + 4), GetBig32(entry.data() + 8),
            GetBig32(entry.data() + 12)};
}

std::string PoolBytes::Data(int number, std::uint32_t length) const {
    std::string bytes(length, '\0');
    Read(SlotOffset(number), bytes.data(), bytes.size());
    return bytes;
}

void PoolBytes::ForEachPacket(int number, std::uint32_t length,
                              std::function<void(FoundPacket const&)> const& look) const {
    Scan(number, 0, length, look);
}

void PoolBytes::ForEachPacketOfSlot(int number,
                                    std::function<void(FoundPacket const&)> const& look) const {
    auto const slot = static_cast<off_t>(SlotOffset(number));
    auto const slotEnd = slot + static_cast<off_t>(slotSize);
    for (off_t at = slot; at < slotEnd;) {
        off_t const data = lseek(file_.Get(), at, SEEK_DATA);
        if (data < 0 || data >= slotEnd) {
            return;
        }
        at = std::min(lseek(file_.Get(), data, SEEK_HOLE), slotEnd);
        auto const begin = static_cast<std::uint64_t>(data - slot) / tsPacketSize * tsPacketSize;
        Scan(number, begin, static_cast<std::uint64_t>(at - slot), look);
    }
}

void PoolBytes::Read(std::uint64_t offset, void* bytes, std::size_t size) const {
    ssize_t const count = pread(file_.Get(), bytes, size, static_cast<off_t>(offset));
    if (count != static_cast<ssize_t>(size)) {
        throw std::runtime_error("the pool image is not readable at " + std::to_string(offset));
    }
}

// Whole packets only.
void PoolBytes::Scan(int number, std::uint64_t begin, std::uint64_t end,
                     std::function<void(FoundPacket const&)> const& look) const {
    std::vector<unsigned char> chunk;
    for (std::uint64_t offset = begin; offset + tsPacketSize <= end;) {
        chunk.resize(std::min(chunkSize, (end - offset) / tsPacketSize * tsPacketSize));
        Read(SlotOffset(number) + offset, chunk.data(), chunk.size());
        for (std::size_t i = 0; i < chunk.size(); i += tsPacketSize) {
            auto const bytes = std::span(chunk).subspan(i).first<tsPacketSize>();
            look({offset + i, NameOf(bytes), TickIn(bytes), bytes});
        }
        offset += chunk.size();
    }
}

std::uint64_t PoolBytes::SlotOffset(int number) const {
    auto const table = static_cast<std::uint64_t>(fileCount_) * entrySize;
    std::uint64_t const data = (tableOffset + table + pageSize - 1) / pageSize * pageSize;
    return data + static_cast<std::uint64_t>(number - 1) * slotSize;
}

} // namespace powercut

// The layout of a pool image: a header page, the table of files, and the slots
// (docs/pool-image.md).
#include "pool/PoolLayout.h"

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <sstream>

#include "BigEndian.h"
#include "Failure.h"

namespace workstation::pool {
namespace {

// As in PNG: the first byte shows that the image is not text; a transfer that changed it as text
// damages the line ends or the control character.
constexpr std::array<unsigned char, 8> magic = {0x89, 'D', '2', 'B', '\r', '\n', 0x1A, '\n'};

constexpr std::size_t versionAt = magic.size();
constexpr std::size_t fileCountAt = versionAt + 4;
constexpr std::size_t slotSizeAt = fileCountAt + 4;
constexpr std::size_t tableOffsetAt = slotSizeAt + 4;
constexpr std::size_t entrySizeAt = tableOffsetAt + 4;
constexpr std::size_t dataOffsetAt = entrySizeAt + 4;
constexpr std::size_t checksumAt = dataOffsetAt + 8; // covers everything before it
static_assert(checksumAt == 36);

// CRC-32 as in Ethernet and ISO 3309, bit by bit: it runs over 36 bytes only.
std::uint32_t Crc32(unsigned char const* data, std::size_t size) {
    constexpr std::uint32_t reversedPolynomial = 0xEDB88320;
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1 ^ ((crc & 1) != 0 ? reversedPolynomial : 0);
        }
    }
    return ~crc;
}

std::string Hexadecimal(std::uint32_t value) {
    std::ostringstream text;
    text << "0x" << std::hex << std::setfill('0') << std::setw(8) << value;
    return text.str();
}

std::string IsNot(char const* field, std::uint64_t stated, std::uint64_t needed) {
    return std::string(field) + " is " + std::to_string(stated) + ", not " + std::to_string(needed);
}

// What is wrong with the header; empty when it is right.
std::string HeaderFault(PoolHeaderPage const& page) {
    unsigned char const* const header = page.data();
    if (!std::equal(magic.begin(), magic.end(), header)) {
        return "not a pool image: the magic number is missing";
    }
    std::uint32_t const stated = GetBig32(header + checksumAt);
    std::uint32_t const computed = Crc32(header, checksumAt);
    if (stated != computed) {
        return "header checksum " + Hexadecimal(stated) + " does not match " +
               Hexadecimal(computed);
    }
    std::uint32_t const fileCount = GetBig32(header + fileCountAt);
    if (fileCount > poolMaxFileCount) {
        return "file count is " + std::to_string(fileCount) + ", more than " +
               std::to_string(poolMaxFileCount);
    }
    struct {
        char const* name;
        std::uint64_t stated;
        std::uint64_t needed;
    } const fields[] = {
        {"format version", GetBig32(header + versionAt), poolFormatVersion},
        {"slot size", GetBig32(header + slotSizeAt), poolSlotSize},
        {"table offset", GetBig32(header + tableOffsetAt), poolTableOffset},
        {"entry size", GetBig32(header + entrySizeAt), poolEntrySize},
        {"data offset", GetBig64(header + dataOffsetAt), PoolDataOffset(fileCount)},
    };
    for (auto const& field : fields) {
        if (field.stated != field.needed) {
            return IsNot(field.name, field.stated, field.needed);
        }
    }
    return {};
}

} // namespace

std::string StreamFileName(int fileNumber) {
    return "stream file " + std::to_string(fileNumber);
}

std::optional<std::uint32_t> PoolFileCountOfSize(std::uint64_t imageSize) {
    std::uint64_t const fileCount = imageSize / poolSlotSize; // the table is smaller than a slot
    if (fileCount > poolMaxFileCount ||
        PoolImageSize(static_cast<std::uint32_t>(fileCount)) != imageSize) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(fileCount);
}

std::uint32_t PoolFileCountWithin(std::uint64_t imageSize) {
    constexpr std::uint64_t tooMany = poolMaxFileCount + 1;
    auto const slots = static_cast<std::uint32_t>(std::min(imageSize / poolSlotSize, tooMany));
    bool const isTooLarge = PoolImageSize(slots) > imageSize; // the table is smaller than a slot
    return isTooLarge && slots > 0 ? slots - 1 : slots;
}

std::string WrongPoolImageSize(std::uint64_t imageSize, std::uint32_t fileCount) {
    std::uint64_t const needed = PoolImageSize(fileCount);
    return std::string(imageSize < needed ? "truncated" : "too long") + ": " +
           std::to_string(imageSize) + " bytes, but " + std::to_string(fileCount) +
           " stream files take " + std::to_string(needed);
}

PoolHeaderPage EncodePoolHeader(std::uint32_t fileCount) {
    PoolHeaderPage page{};
    unsigned char* const header = page.data();
    std::copy(magic.begin(), magic.end(), header);
    PutBig32(header + versionAt, poolFormatVersion);
    PutBig32(header + fileCountAt, fileCount);
    PutBig32(header + slotSizeAt, poolSlotSize);
    PutBig32(header + tableOffsetAt, poolTableOffset);
    PutBig32(header + entrySizeAt, poolEntrySize);
    PutBig64(header + dataOffsetAt, PoolDataOffset(fileCount));
    PutBig32(header + checksumAt, Crc32(header, checksumAt));
    return page;
}

std::uint32_t DecodePoolHeader(PoolHeaderPage const& page, std::string const& image) {
    std::string const fault = HeaderFault(page);
    if (!fault.empty()) {
        throw Failure(EUCLEAN, image + ": " + fault);
    }
    return GetBig32(page.data() + fileCountAt);
}

} // namespace workstation::pool

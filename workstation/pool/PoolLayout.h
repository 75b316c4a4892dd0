// The layout of a pool image: a header page, the table of files, and the slots
// (docs/pool-image.md).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace workstation::pool {

constexpr std::uint32_t poolFormatVersion = 1;
constexpr std::uint32_t poolPageSize = 4096;
constexpr std::uint32_t poolTableOffset = poolPageSize;
constexpr std::uint32_t poolEntrySize = 4 * 4; // four words
constexpr std::uint32_t poolSlotSize = 0x5E00000;
constexpr std::uint32_t poolSlotSizeKiB = poolSlotSize / 1024;

// The image stays below the 16 TiB that an ext4 file with 4 KiB blocks can have.
constexpr std::uint32_t poolMaxFileCount = 100000;

// The second half of the header page belongs to the service, which marks there what it is
// recording.
constexpr std::uint32_t poolServiceAreaOffset = poolPageSize / 2;
constexpr std::uint32_t poolServiceAreaSize = poolPageSize - poolServiceAreaOffset;

// The words of a file's entry in the table, by their index: who writes the file (0: no process),
// whether the event database knows it as it is, how many processes read it and must find it
// unchanged, and its stated length in bytes.
enum class EntryWord { controller = 0, dbMatch = 1, atomicReaders = 2, length = 3 };

using PoolHeaderPage = std::array<unsigned char, poolPageSize>;

// Where the first slot begins.
constexpr std::uint64_t PoolDataOffset(std::uint32_t fileCount) {
    std::uint64_t const tableEnd = poolTableOffset + std::uint64_t{fileCount} * poolEntrySize;
    return (tableEnd + poolPageSize - 1) / poolPageSize * poolPageSize;
}

constexpr std::uint64_t PoolImageSize(std::uint32_t fileCount) {
    return PoolDataOffset(fileCount) + std::uint64_t{fileCount} * poolSlotSize;
}

// Where the table entry of a file begins. Files count from 1.
constexpr std::uint64_t PoolEntryOffset(int fileNumber) {
    return poolTableOffset + static_cast<std::uint64_t>(fileNumber - 1) * poolEntrySize;
}

// Where the slot of a file begins.
constexpr std::uint64_t PoolSlotOffset(std::uint32_t fileCount, int fileNumber) {
    return PoolDataOffset(fileCount) + static_cast<std::uint64_t>(fileNumber - 1) * poolSlotSize;
}

// "stream file 7", as messages name it.
std::string StreamFileName(int fileNumber);

// The only number of files that gives an image of this size; empty when no number does.
std::optional<std::uint32_t> PoolFileCountOfSize(std::uint64_t imageSize);

// The largest number of files whose image is not larger than this; one more than a pool can have
// when that would fit too.
std::uint32_t PoolFileCountWithin(std::uint64_t imageSize);

// What is wrong with an image of another size than it must have.
std::string WrongPoolImageSize(std::uint64_t imageSize, std::uint32_t fileCount);

PoolHeaderPage EncodePoolHeader(std::uint32_t fileCount);

// The number of files that a header states. Throws Failure (EUCLEAN) with the first field that is
// wrong; `image` names the image in its text.
std::uint32_t DecodePoolHeader(PoolHeaderPage const& page, std::string const& image);

} // namespace workstation::pool

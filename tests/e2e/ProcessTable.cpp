// The process tables of a recorder: one for each byte order that its programs have.
#include "ProcessTable.h"

#include <algorithm>
#include <cstring>

namespace e2e {

// Read from the ELF header of the tool.
std::endian ToolsByteOrder() {
    constexpr std::streamoff dataEncoding = 5;
    constexpr char mostSignificantFirst = 2;
    static char const encoding = ReadPiece(ToolPath(), dataEncoding, 1).front();
    return encoding == mostSignificantFirst ? std::endian::big : std::endian::little;
}

std::filesystem::path ProcessTablePath(Recorder const& recorder, std::endian order) {
    return recorder.Root() /
           (order == std::endian::big ? "shm/process_table.big-endian" : "shm/process_table");
}

std::string Word(std::int32_t word, std::endian order) {
    std::string bytes(sizeof word, '\0');
    std::memcpy(bytes.data(), &word, sizeof word);
    if (order != std::endian::native) {
        std::reverse(bytes.begin(), bytes.end());
    }
    return bytes;
}

} // namespace e2e

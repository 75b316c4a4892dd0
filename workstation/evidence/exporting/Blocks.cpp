// Reads a part of a slot or of a file block by block.
#include "evidence/exporting/Blocks.h"

#include <algorithm>

#include "ts/TsPacket.h"

namespace workstation::evidence::exporting {

std::vector<Range> ReadBlocks(ByteSource& source, Range const& range,
                              std::function<void(std::span<unsigned char const>)> const& take,
                              std::function<void(std::uint64_t bytes)> const& progress) {
    std::vector<unsigned char> block(ts::tsBlockSize);
    std::vector<Range> unreadable;
    for (std::uint64_t offset = range.offset; offset < range.End();) {
        auto const bytes =
            std::span(block).first(std::min<std::uint64_t>(block.size(), range.End() - offset));
        source.Read(offset, bytes, unreadable);
        take(bytes);
        offset += bytes.size();
        progress(bytes.size());
    }
    return unreadable;
}

} // namespace workstation::evidence::exporting

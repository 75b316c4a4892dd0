// Hashes a part of a slot or of a file.
#include "evidence/exporting/HashOf.h"

#include <algorithm>

#include "evidence/exporting/Sha256.h"
#include "ts/TsPacket.h"

namespace workstation::evidence::exporting {

std::string HashOf(ByteSource& source, Range const& range, std::vector<Range>& unreadable,
                   std::function<void(std::uint64_t bytes)> const& progress) {
    Sha256 hash;
    std::vector<unsigned char> block(ts::tsBlockSize);
    for (std::uint64_t offset = range.offset; offset < range.End();) {
        auto const bytes =
            std::span(block).first(std::min<std::uint64_t>(block.size(), range.End() - offset));
        source.Read(offset, bytes, unreadable);
        hash.Add(bytes);
        offset += bytes.size();
        progress(bytes.size());
    }
    return hash.Take();
}

} // namespace workstation::evidence::exporting

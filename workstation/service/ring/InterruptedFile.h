// A stream file whose recording was cut off.
#pragma once

#include "pool/StreamFile.h"
#include "service/ring/FlushMark.h"
#include "service/ring/SlotContents.h"

namespace workstation::service::ring {

// How many bytes of the file were recorded, as far as can be known for certain: what the table
// states, and what the stream's marks prove beyond it. Throws a Failure when the file cannot be
// read.
std::uint32_t RecordedLength(pool::StreamFile& file, std::int64_t link,
                             std::array<FlushMark, marksPerStream> const& marks);

// What the file has, as far as the table states. Only its ends are read, in blocks, unless it has
// few ticks. Throws a Failure when the file cannot be read.
SlotContents ReadContents(pool::StreamFile& file);

} // namespace workstation::service::ring

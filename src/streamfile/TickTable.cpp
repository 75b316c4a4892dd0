// The system ticks of a stream file and their byte offsets.
#include "streamfile/TickTable.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "TsHelper.h"
#include "common/FileAccess.h"
#include "common/Int32.h"
#include "common/StreamFileSize.h"
#include "transfer/ChunkReader.h"
#include "transfer/ErrorLines.h"
#include "transfer/PreChecks.h"
#include "transfer/ProgressMarks.h"

using namespace streamfile;
using namespace transfer;

namespace {

// The recorder's system tick. A number, since the recorder's headers are not known to have a name
// for it.
constexpr auto systemTick = static_cast<TsHelper::StreamSystickId>(2);

// The bytes to read from an open stream file; nullopt, after a line on standard error, when its
// length is unknown or 0. As LengthToRead, but with the lines of the tick tools.
std::optional<long> LengthToScan(StreamFileAccess& file, int fileNumber, bool unbounded) {
    if (unbounded) {
        return common::slotSize;
    }
    long const length = file.DataLength();
    if (length < 0) {
        SystemErrorLine(
            {"error getting length of File number ", std::to_string(fileNumber), ", Error: "});
        return std::nullopt;
    }
    if (length == 0) {
        std::cerr << "Stream file number " << fileNumber << " is a zero-length file." << std::endl;
        return std::nullopt;
    }
    return length;
}

} // namespace

bool GetStreamFileTicks(int fileNumber, long& fileSize, long& bytesRead, bool unbounded,
                        TickTable& ticks) {
    // Deliberate: 0 is not refused here, but when the file is opened.
    if (fileNumber < 0) {
        InvalidFileNumberLine(fileNumber);
        return false;
    }
    if (!FileSystemIsPool() || !InitializePool()) {
        return false;
    }
    if (fileNumber > fileAccess.GetFilePoolSize()) {
        InvalidFileNumberLine(fileNumber);
        return false;
    }

    StreamFileAccess file(fileNumber, 0);
    if (!IsOpen(file)) {
        return false;
    }
    auto const length = LengthToScan(file, fileNumber, unbounded);
    if (!length) {
        return false;
    }
    fileSize = *length;

    // Always a whole slot, zero-filled, whatever the size of the file: TsHelper searches all of it.
    std::unique_ptr<std::vector<unsigned char>> const slot(new (std::nothrow)
                                                               std::vector<unsigned char>);
    if (!slot) {
        std::cerr << "Unable to allocate stream file buffer." << std::endl;
        return false;
    }
    slot->resize(common::slotSize);

    unsigned char* place = slot->data();
    ChunkReader chunks(file, *length, unbounded);
    ProgressMarks marks;
    do {
        auto const got = chunks.Read(place);
        if (!got) {
            return false;
        }
        place += common::chunkSize;
        marks.CountChunk();
        common::AddInt32(bytesRead, *got);
    } while (!chunks.AtEnd());
    std::cout << std::endl;

    TsHelper helper(*slot);
    ticks = helper.SystemTick(systemTick, 0);
    if (ticks.empty()) {
        std::cout << "No system ticks found in file number " << fileNumber << "\n";
    }
    return !ticks.empty();
}

bool TickToOffset(TickTable& ticks, unsigned int tick, long& offset) {
    auto const found = std::find_if(ticks.begin(), ticks.end(), [tick](auto const& entry) {
        return entry.second.tick == tick;
    });
    if (found == ticks.end()) {
        return false;
    }
    offset = static_cast<std::int32_t>(found->first);
    return true;
}

// The system ticks of a stream file, and where in it they stand.
#include "TickTable.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "../common/FileAccess.h"
#include "ChunkLoop.h"
#include "PoolChecks.h"
#include "TsHelper.h"

using namespace streamfile;

namespace {

constexpr auto systemTick = static_cast<TsHelper::StreamSystickId>(2);

// The bytes that are to be read for the ticks of an open stream file; none, after a line on
// standard error, when that cannot be had or is 0. The lines are those of the tick tools, not of
// the copies.
std::optional<long> LengthToScan(StreamFileAccess& file, int fileNum, bool unbounded) {
    if (unbounded) {
        return slotSize;
    }
    long const length = file.DataLength();
    if (length < 0) {
        SystemErrorLine(
            {"error getting length of File number ", std::to_string(fileNum), ", Error: "});
        return std::nullopt;
    }
    if (length == 0) {
        std::cerr << "Stream file number " << fileNum << " is a zero-length file." << std::endl;
        return std::nullopt;
    }
    return length;
}

// Lines chunk after chunk up in memory.
class MemorySink {
public:
    explicit MemorySink(unsigned char* memory)
        : place_(memory) {}

    unsigned char* Place() { return place_; }
    bool Take(int) {
        place_ += chunkSize;
        return true;
    }

private:
    unsigned char* place_;
};

} // namespace

bool GetStreamFileTicks(int fileNum, long& fileSize, long& bytesRead, bool unbounded,
                        TickTable& ticks) {
    // 0 and the size of the pool pass: only what is outside is no number of a file.
    if (fileNum < 0) {
        InvalidFileNumberLine(fileNum);
        return false;
    }
    if (!FileSystemIsPool() || !InitializePool()) {
        return false;
    }
    if (fileNum > fileAccess.GetFilePoolSize()) {
        InvalidFileNumberLine(fileNum);
        return false;
    }

    StreamFileAccess file(fileNum, 0);
    if (!IsOpen(file)) {
        return false;
    }
    auto const length = LengthToScan(file, fileNum, unbounded);
    if (!length) {
        return false;
    }
    fileSize = *length;

    // Always a whole slot, zero-filled, whatever the file holds: TsHelper is handed all of it.
    std::unique_ptr<std::vector<unsigned char>> const slot(new (std::nothrow)
                                                               std::vector<unsigned char>);
    if (!slot) {
        std::cerr << "Unable to allocate stream file buffer." << std::endl;
        return false;
    }
    slot->resize(slotSize);

    MemorySink sink(slot->data());
    if (!MoveChunks({file, *length, unbounded}, *length, sink, ProgressMarks(), bytesRead)) {
        return false;
    }
    std::cout << std::endl;

    TsHelper helper(*slot);
    ticks = helper.SystemTick(systemTick, 0);
    if (ticks.empty()) {
        std::cout << "No system ticks found in file number " << fileNum << "\n";
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

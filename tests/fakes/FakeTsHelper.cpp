// The ticks of a transport stream, scripted.
#include "TsHelper.h"

#include "FakePlatform.h"
#include "Show.h"

TsHelper::TsHelper(std::vector<unsigned char>& stream)
    : stream_(stream) {
    FakePlatform::Get().Note("TsHelper(" + Show(stream_.size()) + " bytes)");
}

TsHelper::~TsHelper() {
    FakePlatform::Get().Note("~TsHelper()");
}

// What a test scripts beyond the end of the stream is returned as it is: tests of the tool have
// the largest offsets printed, which no stream reaches.
TickTable TsHelper::SystemTick(StreamSystickId id, unsigned int from) {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("ticks.SystemTick(" + ShowAll(static_cast<int>(id), from) + ")");
    platform.pool.onTickScan(stream_);
    if (platform.pool.tickTables.empty()) {
        platform.Breach("a search for ticks that the test did not script");
        return {};
    }
    TickTable table = platform.pool.tickTables.front();
    platform.pool.tickTables.erase(platform.pool.tickTables.begin());
    constexpr std::size_t packetSize = 188;
    std::erase_if(table, [&](auto const& entry) {
        std::size_t const offset = entry.first;
        bool const isCutOff = offset < stream_.size() && stream_.size() - offset < packetSize;
        return offset < from || isCutOff;
    });
    return table;
}

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

TickTable TsHelper::SystemTick(StreamSystickId id, unsigned int from) {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("ticks.SystemTick(" + ShowAll(static_cast<int>(id), from) + ")");
    platform.pool.onTickScan(stream_);
    if (platform.pool.tickTables.empty()) {
        platform.Breach("ticks are asked for that the test did not script");
        return {};
    }
    TickTable table = platform.pool.tickTables.front();
    platform.pool.tickTables.erase(platform.pool.tickTables.begin());
    return table;
}

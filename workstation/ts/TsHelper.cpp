// Finds the system ticks of a transport stream.
#include "TsHelper.h"

#include "ts/PacketResync.h"
#include "ts/SystemTickPacket.h"

using namespace workstation;
using namespace workstation::ts;

TsHelper::TsHelper(std::vector<unsigned char>& stream)
    : stream_(stream) {}

TsHelper::~TsHelper() {}

std::vector<std::pair<unsigned int, StreamMetadata>> TsHelper::SystemTick(StreamSystickId id,
                                                                          unsigned int from) {
    std::span<unsigned char const> const stream = stream_;
    std::vector<std::pair<unsigned int, StreamMetadata>> ticks;
    PacketResync const packets(stream);
    std::size_t endOfLastTick = 0;
    for (auto offset = packets.First(from); offset != packets.End();
         offset = packets.After(offset)) {
        auto const packet = stream.subspan(offset).first<tsPacketSize>();
        // After damage packets can overlap; a tick inside the last one is not a tick.
        if (!HasSystemTickHeader(packet) || offset < endOfLastTick) {
            continue;
        }
        if (auto const metadata = DecodeSystemTick(packet, static_cast<unsigned char>(id))) {
            ticks.emplace_back(static_cast<unsigned int>(offset), *metadata);
            endOfLastTick = offset + tsPacketSize;
        }
    }
    return ticks;
}

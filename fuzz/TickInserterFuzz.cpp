// Inserts ticks into arbitrary packets.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <vector>

#include "Require.h"
#include "TsHelper.h"
#include "ts/SystemTickPacket.h"
#include "ts/TickInserter.h"

using namespace workstation;

// The ticks stand in front of the packet and count up, the packet is passed on as it is.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    FuzzedDataProvider plan(data, size);
    auto const first = plan.ConsumeIntegral<std::uint32_t>();
    auto const rate = plan.ConsumeIntegralInRange(1U, 1000U);
    TickInserter inserter(TickNumbering(first), 0, rate);
    std::uint32_t expected = first;
    while (plan.remaining_bytes() > 0) {
        auto packet = plan.ConsumeBytes<unsigned char>(tsPacketSize);
        packet.resize(tsPacketSize);
        std::vector<unsigned char> out;
        inserter.Pass(std::span(packet).first<tsPacketSize>(), out);
        Require(out.size() >= tsPacketSize && out.size() % tsPacketSize == 0);
        Require(std::equal(packet.begin(), packet.end(), out.end() - tsPacketSize));
        for (std::size_t at = 0; at + tsPacketSize < out.size(); at += tsPacketSize) {
            auto const tick = DecodeSystemTick(std::span(out).subspan(at).first<tsPacketSize>(),
                                               TsHelper::StreamSystickSystem);
            Require(tick && tick->tick == expected++);
        }
        Require(inserter.NextTick().tick == expected);
    }
    return 0;
}

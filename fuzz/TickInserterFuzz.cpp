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
    ts::TickInserter inserter(first, 0, rate);
    std::uint32_t expected = first;
    while (plan.remaining_bytes() > 0) {
        auto packet = plan.ConsumeBytes<unsigned char>(ts::tsPacketSize);
        packet.resize(ts::tsPacketSize);
        std::vector<unsigned char> out;
        inserter.Pass(std::span(packet).first<ts::tsPacketSize>(), out);
        Require(out.size() >= ts::tsPacketSize && out.size() % ts::tsPacketSize == 0);
        Require(std::equal(packet.begin(), packet.end(), out.end() - ts::tsPacketSize));
        for (std::size_t at = 0; at + ts::tsPacketSize < out.size(); at += ts::tsPacketSize) {
            auto const tick =
                ts::DecodeSystemTick(std::span(out).subspan(at).first<ts::tsPacketSize>(),
                                     TsHelper::StreamSystickSystem);
            Require(tick && tick->tick == expected++);
        }
        Require(inserter.NextTick().tick == expected);
    }
    return 0;
}

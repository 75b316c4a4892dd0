// How fast the ticks of a whole stream file are found, beside a plain pass over its packets.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

#include "BigEndian.h"
#include "TsHelper.h"
#include "ts/SystemTickPacket.h"

using namespace workstation;

namespace {

constexpr std::size_t slotSize = 0x5E00000;

// A slot with `dataPackets` packets, every 500th of them a tick (20 a second at 15 Mbit/s), and
// zeros after them.
std::vector<unsigned char> Slot(std::size_t dataPackets) {
    std::vector<unsigned char> slot(slotSize);
    unsigned int random = 1;
    for (std::size_t i = 0; i < dataPackets; ++i) {
        auto const packet = slot.begin() + static_cast<std::ptrdiff_t>(i * ts::tsPacketSize);
        if (i % 500 == 0) {
            auto const tick = static_cast<unsigned int>(i / 500);
            std::ranges::copy(
                ts::EncodeSystemTick(TsHelper::StreamSystickSystem, {tick, 0, {}}, tick), packet);
            continue;
        }
        std::generate_n(packet, ts::tsPacketSize, [&random] {
            random = random * 1664525 + 1013904223;
            return static_cast<unsigned char>(random >> 24);
        });
        PutBig32(&*packet, 0x47010010);
    }
    return slot;
}

constexpr std::size_t fullSlot = slotSize / ts::tsPacketSize;

// The least that any scan has to do: look at the first four bytes of every packet.
void PlainPass(benchmark::State& state) {
    auto const slot = Slot(fullSlot);
    for (auto _ : state) {
        std::size_t ticks = 0;
        for (std::size_t offset = 0; offset + ts::tsPacketSize <= slot.size();
             offset += ts::tsPacketSize) {
            std::uint32_t const header = GetBig32(&slot[offset]);
            ticks += (header & 0xFF1FFF00) == 0x471FA000 ? 1 : 0;
        }
        benchmark::DoNotOptimize(ticks);
    }
}

void SystemTick(benchmark::State& state) {
    auto slot = Slot(static_cast<std::size_t>(state.range(0)));
    std::size_t ticks = 0;
    for (auto _ : state) {
        ticks = TsHelper(slot).SystemTick(TsHelper::StreamSystickSystem, 0).size();
    }
    state.counters["ticks"] = static_cast<double>(ticks);
}

BENCHMARK(PlainPass)->Unit(benchmark::kMillisecond);
BENCHMARK(SystemTick)
    ->Unit(benchmark::kMillisecond)
    ->ArgName("packets")
    ->Arg(fullSlot)
    ->Arg(fullSlot / 2)
    ->Arg(0);

} // namespace

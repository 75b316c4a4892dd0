// How fast a transport stream goes from a file to its target, ticks put in on the way.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "service/recording/Recording.h"

using namespace workstation;

namespace {

constexpr std::uint64_t clipSize = 64 << 20;
constexpr unsigned int packetsPerPcr = 266; // 40 ms at 10 Mbit/s

void WriteBig48(unsigned char* out, std::uint64_t value) {
    for (int i = 0; i < 6; ++i) {
        out[i] = static_cast<unsigned char>(value >> (40 - 8 * i));
    }
}

// A file of packets with a PCR each 40 ms, gone at the end.
class Clip {
public:
    Clip() {
        if (mkdtemp(directory_.data()) == nullptr) {
            std::abort();
        }
        std::ofstream file(Path(), std::ios::binary);
        for (std::uint64_t i = 0; i < clipSize / ts::tsPacketSize; ++i) {
            unsigned char packet[ts::tsPacketSize] = {ts::tsSyncByte, 0x01, 0x00, 0x10};
            if (i % packetsPerPcr == 0) {
                packet[3] = 0x30; // adaptation field and payload
                packet[4] = 7;    // its length
                packet[5] = 0x10; // PCR_flag
                WriteBig48(&packet[6], (i / packetsPerPcr * 3600) << 15 | 0x7E00);
            }
            file.write(reinterpret_cast<char const*>(packet), ts::tsPacketSize);
        }
    }
    ~Clip() {
        std::remove(Path().c_str());
        std::remove(directory_.c_str());
    }
    Clip(Clip const&) = delete;
    Clip& operator=(Clip const&) = delete;

    std::string Path() const { return directory_ + "/clip.ts"; }

private:
    std::string directory_ = "/tmp/recordingXXXXXX";
};

class NoTarget : public service::recording::RecordingTarget {
public:
    void Begin() override {}
    void Write(service::recording::TickedPackets const& packets) override {
        benchmark::DoNotOptimize(packets.bytes.data());
    }
    void End() override {}
};

class CountingTicks : public service::recording::TickSource {
public:
    std::uint32_t ReserveTicks(std::uint32_t count) override { return next_ += count; }
    void ReturnTicks(std::uint32_t) override {}

private:
    std::uint32_t next_ = 0;
};

void RecordFile(benchmark::State& state) {
    Clip const clip;
    for (auto _ : state) {
        NoTarget target;
        CountingTicks ticks;
        service::recording::StopEvent const stop;
        service::recording::SystemRecordingClock clock(stop);
        service::recording::RecordingStatus status({1, clip.Path()});
        service::recording::Recording(
            {1, clip.Path(), true}, target, ticks, clock, [](std::string const&, log::Severity) {},
            stop, status)
            .Run();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(clipSize));
}
BENCHMARK(RecordFile)->Unit(benchmark::kMillisecond);

} // namespace

// Looks for ticks in arbitrary bytes, and in streams that were damaged in a known way.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <vector>

#include "Require.h"
#include "TsHelper.h"
#include "ts/SystemTickPacket.h"

using namespace workstation;

namespace {

using Bytes = std::vector<unsigned char>;
using Ticks = std::vector<std::pair<unsigned int, StreamMetadata>>;

bool Same(StreamMetadata const& left, StreamMetadata const& right) {
    return left.tick == right.tick && left.time == right.time &&
           std::ranges::equal(left.words, right.words);
}

// Whatever the bytes are: each tick that is found stands where it is said to stand.
void CheckFound(Bytes const& stream, unsigned int from, Ticks const& found) {
    std::size_t end = from;
    for (auto const& [offset, metadata] : found) {
        Require(offset >= end && offset + ts::tsPacketSize <= stream.size());
        auto const there =
            ts::DecodeSystemTick(std::span(stream).subspan(offset).first<ts::tsPacketSize>(),
                                 TsHelper::StreamSystickSystem);
        Require(there && Same(*there, metadata));
        end = offset + ts::tsPacketSize;
    }
}

// A stream of whole packets with damage between them, in which no byte but the first of a packet
// looks like a sync byte.
class DamagedStream {
public:
    explicit DamagedStream(FuzzedDataProvider& plan) {
        while (plan.remaining_bytes() > 0) {
            AddPiece(plan);
        }
    }

    Bytes& Data() { return bytes_; }

    // The offsets of the ticks that must be found: those among three whole packets in a row.
    std::vector<unsigned int> MustBeFound(unsigned int from) const {
        std::vector<unsigned int> offsets;
        for (std::size_t first = 0; first + 3 <= packets_.size(); ++first) {
            bool const inRow = packets_[first + 2] - packets_[first] == 2 * ts::tsPacketSize;
            if (!inRow || packets_[first] < from) {
                continue;
            }
            for (std::size_t i = first; i < first + 3; ++i) {
                if (IsTick(packets_[i]) && (offsets.empty() || packets_[i] > offsets.back())) {
                    offsets.push_back(packets_[i]);
                }
            }
        }
        return offsets;
    }

private:
    void AddPiece(FuzzedDataProvider& plan) {
        switch (plan.ConsumeIntegralInRange(0, 5)) {
        case 0:
            AddPacket(Tick(plan));
            break;
        case 1:
            AddPacket(Media());
            break;
        case 2:
            for (unsigned int i = 0; i < 16; ++i) {
                AddPacket(Media());
            }
            break;
        case 3:
            Add(WithoutSyncBytes(plan.ConsumeBytes<unsigned char>(
                plan.ConsumeIntegralInRange<std::size_t>(1, 2 * ts::tsPacketSize))));
            break;
        case 4:
            Add(Bytes(plan.ConsumeIntegralInRange<std::size_t>(1, 5 * ts::tsPacketSize)));
            break;
        default:
            AddCut(plan);
        }
    }

    static Bytes WithoutSyncBytes(Bytes bytes) {
        std::ranges::replace(bytes, ts::tsSyncByte, static_cast<unsigned char>(0xB8));
        return bytes;
    }

    static Bytes Media() {
        Bytes packet(ts::tsPacketSize, 0x33);
        std::ranges::copy(Bytes{ts::tsSyncByte, 0x01, 0x00, 0x10}, packet.begin());
        return packet;
    }

    static Bytes Tick(FuzzedDataProvider& plan) {
        auto const tick = plan.ConsumeIntegral<unsigned int>();
        auto const packet = ts::EncodeSystemTick(TsHelper::StreamSystickSystem,
                                                 {tick, static_cast<int>(~tick), {}}, tick);
        Bytes bytes = WithoutSyncBytes({packet.begin(), packet.end()});
        bytes[0] = ts::tsSyncByte;
        return bytes;
    }

    void AddCut(FuzzedDataProvider& plan) {
        Bytes packet = plan.ConsumeBool() ? Tick(plan) : Media();
        auto const cut = plan.ConsumeIntegralInRange<std::size_t>(1, ts::tsPacketSize - 1);
        plan.ConsumeBool()
            ? packet.resize(cut)
            : void(packet.erase(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(cut)));
        Add(packet);
    }

    void AddPacket(Bytes const& packet) {
        packets_.push_back(static_cast<unsigned int>(bytes_.size()));
        Add(packet);
    }

    void Add(Bytes const& piece) { bytes_.insert(bytes_.end(), piece.begin(), piece.end()); }

    bool IsTick(unsigned int packet) const { return bytes_[packet + 1] != 0x01; }

    Bytes bytes_;
    std::vector<unsigned int> packets_; // offsets of the whole ones
};

Ticks Find(Bytes& stream, unsigned int from) {
    stream.shrink_to_fit(); // so that the address sanitizer sees a read past the end
    return TsHelper(stream).SystemTick(TsHelper::StreamSystickSystem, from);
}

void TryArbitraryBytes(FuzzedDataProvider& plan, unsigned int from) {
    Bytes stream = plan.ConsumeRemainingBytes<unsigned char>();
    CheckFound(stream, from, Find(stream, from));
}

void TryDamagedStream(FuzzedDataProvider& plan, unsigned int from) {
    DamagedStream stream(plan);
    auto const found = Find(stream.Data(), from);
    CheckFound(stream.Data(), from, found);
    for (unsigned int const offset : stream.MustBeFound(from)) {
        Require(std::ranges::count(found, offset, &Ticks::value_type::first) == 1);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    FuzzedDataProvider plan(data, size);
    bool const arbitrary = plan.ConsumeBool();
    unsigned int const from = plan.ConsumeBool() ? plan.ConsumeIntegral<std::uint16_t>() : 0;
    arbitrary ? TryArbitraryBytes(plan, from) : TryDamagedStream(plan, from);
    return 0;
}

// Feeds PacketAssembler arbitrary bytes in arbitrary pieces.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <vector>

#include "Require.h"
#include "service/recording/PacketAssembler.h"

using namespace workstation;

namespace {

using Bytes = std::vector<unsigned char>;

// Twice what the assembler looks ahead. Longer ones only take longer.
constexpr std::size_t longestStream = 8 << 10;

// Packets around pieces of the input, so that the assembler finds sync, and loses it.
Bytes MakeStream(FuzzedDataProvider& input) {
    Bytes stream;
    while (input.remaining_bytes() > 0 && stream.size() < longestStream) {
        for (auto count = input.ConsumeIntegralInRange(0, 30); count > 0; --count) {
            Bytes packet(ts::tsPacketSize, input.ConsumeIntegral<unsigned char>());
            packet[0] = ts::tsSyncByte;
            packet[3] = 0x10;
            stream.insert(stream.end(), packet.begin(), packet.end());
        }
        auto const piece =
            input.ConsumeBytes<unsigned char>(input.ConsumeIntegralInRange<std::size_t>(0, 400));
        stream.insert(stream.end(), piece.begin(), piece.end());
    }
    return stream;
}

void Take(service::recording::PacketAssembler& assembler, Bytes& packets) {
    for (auto run = assembler.Next(); !run.empty(); run = assembler.Next()) {
        Require(run.size() % ts::tsPacketSize == 0);
        for (std::size_t i = 0; i < run.size(); i += ts::tsPacketSize) {
            Require(run[i] == ts::tsSyncByte);
        }
        packets.insert(packets.end(), run.begin(), run.end());
    }
}

Bytes Align(Bytes const& stream, std::size_t pieceSize) {
    service::recording::PacketAssembler assembler;
    Bytes packets;
    for (std::size_t begin = 0; begin < stream.size();) {
        auto const room = assembler.Room();
        Require(!room.empty());
        std::size_t const size = std::min({pieceSize, room.size(), stream.size() - begin});
        std::copy_n(&stream[begin], size, room.begin());
        assembler.Filled(size);
        Take(assembler, packets);
        begin += size;
    }
    assembler.End();
    Take(assembler, packets);
    auto const& counts = assembler.Counts();
    Require(counts.packets * ts::tsPacketSize == packets.size());
    Require(counts.packets * ts::tsPacketSize + counts.droppedBytes == stream.size());
    return packets;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    auto const pieceSize = input.ConsumeIntegralInRange<std::size_t>(1, 5000);
    Bytes const stream = MakeStream(input);
    Require(Align(stream, pieceSize) == Align(stream, stream.size()));
    return 0;
}

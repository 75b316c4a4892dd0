// Encodes and decodes the transport stream packet that carries one system tick.
#include "ts/SystemTickPacket.h"

#include <algorithm>

#include "BigEndian.h"

#include <bitstream/mpeg/pes.h>
#include <bitstream/mpeg/ts.h>

namespace workstation::ts {

namespace {

constexpr std::array<unsigned char, 4> mark = {'T', 'I', 'C', 'K'};
constexpr unsigned char wordCount = 7;
constexpr std::size_t furtherWords = std::size(StreamMetadata{}.words);
static_assert(wordCount == 1 + 1 + furtherWords); // tick, time, the further words

// The offsets of the fields in the packet.
constexpr std::size_t pesAt = TS_HEADER_SIZE;
constexpr std::size_t markAt = pesAt + PES_HEADER_SIZE;
constexpr std::size_t identifierAt = markAt + mark.size();
constexpr std::size_t wordCountAt = identifierAt + 1;
constexpr std::size_t tickAt = wordCountAt + 1;
constexpr std::size_t timeAt = tickAt + 4;
constexpr std::size_t furtherWordsAt = timeAt + 4;
constexpr std::size_t stuffingAt = furtherWordsAt + 4 * furtherWords;

constexpr std::uint16_t pesLength = stuffingAt - markAt;
constexpr unsigned char stuffing = 0xFF;

static_assert(tsPacketSize == TS_SIZE && pesLength == 34);

// A tick packet without the fields that differ from tick to tick.
SystemTickPacket EmptyTick(unsigned char identifier) {
    SystemTickPacket packet;
    packet.fill(stuffing);
    ts_init(packet.data());
    ts_set_unitstart(packet.data());
    ts_set_pid(packet.data(), systemTickPid);
    ts_set_payload(packet.data());
    pes_init(&packet[pesAt]);
    pes_set_streamid(&packet[pesAt], PES_STREAM_ID_PRIVATE_2);
    pes_set_length(&packet[pesAt], pesLength);
    std::ranges::copy(mark, &packet[markAt]);
    packet[identifierAt] = identifier;
    packet[wordCountAt] = wordCount;
    return packet;
}

} // namespace

SystemTickPacket EncodeSystemTick(unsigned char identifier, StreamMetadata const& metadata,
                                  unsigned int continuityCounter) {
    SystemTickPacket packet = EmptyTick(identifier);
    ts_set_cc(packet.data(), continuityCounter & 0xF);
    PutBig32(&packet[tickAt], metadata.tick);
    PutBig32(&packet[timeAt], static_cast<std::uint32_t>(metadata.time));
    for (std::size_t i = 0; i < furtherWords; ++i) {
        PutBig32(&packet[furtherWordsAt + 4 * i], metadata.words[i]);
    }
    return packet;
}

std::optional<StreamMetadata> DecodeSystemTick(TsPacketView packet, unsigned char identifier) {
    // The stuffing is compared to its last byte, so that a tick that was cut off is not accepted.
    SystemTickPacket const expected = EmptyTick(identifier);
    if (!HasSystemTickHeader(packet) ||
        !std::ranges::equal(packet.subspan<pesAt, tickAt - pesAt>(),
                            std::span(expected).subspan<pesAt, tickAt - pesAt>()) ||
        !std::ranges::equal(packet.subspan<stuffingAt>(),
                            std::span(expected).subspan<stuffingAt>())) {
        return std::nullopt;
    }
    StreamMetadata metadata{};
    metadata.tick = GetBig32(&packet[tickAt]);
    metadata.time = static_cast<int>(GetBig32(&packet[timeAt]));
    for (std::size_t i = 0; i < furtherWords; ++i) {
        metadata.words[i] = GetBig32(&packet[furtherWordsAt + 4 * i]);
    }
    return metadata;
}

} // namespace workstation::ts

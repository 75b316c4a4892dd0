// A stream with PAT, PMT, video and audio, in packets whose counters go on.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <bitstream/mpeg/psi.h>
#include <bitstream/mpeg/ts.h>

#include "TsHelper.h"
#include "ts/SystemTickPacket.h"
#include "ts/TestStream.h"

namespace workstation::evidence::exporting {

constexpr std::uint16_t pmtPid = 0x1000;
constexpr std::uint16_t audioPid = 0x101;
constexpr std::uint16_t videoPid = 0x102;
constexpr std::uint8_t videoType = 0x1B;
constexpr std::uint8_t audioType = 0x0F;

class ProgramStream {
public:
    using Streams = std::vector<std::pair<std::uint16_t, std::uint8_t>>; // PID and stream_type

    // The tick `number` with a time of 20 ticks a second.
    ProgramStream& Tick(std::uint32_t number) {
        return Tick(number, static_cast<std::int32_t>(number / 20));
    }
    ProgramStream& Tick(std::uint32_t number, std::int32_t time) {
        auto const packet =
            ts::EncodeSystemTick(TsHelper::StreamSystickSystem, {number, time, {}}, tickCounter_++);
        bytes_.append(packet.begin(), packet.end());
        return *this;
    }

    ProgramStream& Pat() {
        std::array<unsigned char, PSI_MAX_SIZE + PSI_HEADER_SIZE> section{};
        pat_init(section.data());
        pat_set_length(section.data(), PAT_PROGRAM_SIZE);
        auto* const program = pat_get_program(section.data(), 0);
        patn_init(program);
        patn_set_program(program, 1);
        patn_set_pid(program, pmtPid);
        return Section(0, section.data());
    }

    ProgramStream& Pmt(Streams const& streams = {{audioPid, audioType}, {videoPid, videoType}}) {
        std::array<unsigned char, PSI_MAX_SIZE + PSI_HEADER_SIZE> section{};
        pmt_init(section.data());
        psi_set_tableidext(section.data(), 1);
        pmt_set_length(section.data(), static_cast<std::uint16_t>(streams.size() * PMT_ES_SIZE));
        pmt_set_desclength(section.data(), 0);
        unsigned char* place = section.data() + PMT_HEADER_SIZE;
        for (auto const& [pid, type] : streams) {
            pmtn_init(place);
            pmtn_set_streamtype(place, type);
            pmtn_set_pid(place, pid);
            pmtn_set_desclength(place, 0);
            place += PMT_ES_SIZE;
        }
        return Section(pmtPid, section.data());
    }

    ProgramStream& Video(unsigned int count = 1) { return Media(videoPid, false, count); }
    ProgramStream& Audio(unsigned int count = 1) { return Media(audioPid, true, count); }
    ProgramStream& KeyFrame() { return Media(videoPid, true, 1); }

    std::string const& Bytes() const { return bytes_; }
    std::size_t Packets() const { return bytes_.size() / ts::tsPacketSize; }

private:
    ProgramStream& Media(std::uint16_t pid, bool isRandomAccess, unsigned int count) {
        for (unsigned int i = 0; i < count; ++i) {
            auto packet = ts_test::MediaPacket();
            ts_set_pid(packet.data(), pid);
            ts_set_cc(packet.data(), counters_[pid]++ & 0xFU);
            if (isRandomAccess) {
                packet[3] = static_cast<unsigned char>(packet[3] | 0x20);
                packet[4] = 1;
                packet[5] = 0x40;
            }
            bytes_.append(packet.begin(), packet.end());
        }
        return *this;
    }

    ProgramStream& Section(std::uint16_t pid, unsigned char* section) {
        psi_set_version(section, 0);
        psi_set_current(section);
        psi_set_section(section, 0);
        psi_set_lastsection(section, 0);
        psi_set_crc(section);
        std::array<unsigned char, TS_SIZE> packet{};
        packet.fill(0xFF);
        ts_init(packet.data());
        ts_set_unitstart(packet.data());
        ts_set_pid(packet.data(), pid);
        ts_set_cc(packet.data(), counters_[pid]++ & 0xFU);
        ts_set_payload(packet.data());
        packet[4] = 0;
        std::copy_n(section, psi_get_length(section) + PSI_HEADER_SIZE, &packet[5]);
        bytes_.append(packet.begin(), packet.end());
        return *this;
    }

    std::string bytes_;
    std::array<std::uint8_t, 8192> counters_{};
    unsigned int tickCounter_ = 0;
};

} // namespace workstation::evidence::exporting

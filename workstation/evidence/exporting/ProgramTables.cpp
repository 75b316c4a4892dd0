// What a transport stream says about its streams: PAT and PMT.
#include "evidence/exporting/ProgramTables.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include <bitstream/mpeg/psi.h>
#include <bitstream/mpeg/ts.h>

namespace workstation::evidence::exporting {
namespace {

// The stream_type of MPEG-1, MPEG-2, MPEG-4, H.264, H.265, H.266, AVS, Dirac and VC-1.
constexpr std::array<std::uint8_t, 9> videoTypes = {0x01, 0x02, 0x10, 0x1B, 0x24,
                                                    0x33, 0x42, 0xD1, 0xEA};

bool IsVideo(std::uint8_t streamType) {
    return std::ranges::find(videoTypes, streamType) != videoTypes.end();
}

} // namespace

bool ProgramTables::Section::Take(ts::TsPacketView packet) {
    // The header, an adaptation field, and at a start the pointer to the section.
    std::size_t begin = TS_HEADER_SIZE;
    if (ts_has_adaptation(packet.data())) {
        begin += 1U + ts_get_adaptation(packet.data());
    }
    bool const begins = ts_get_unitstart(packet.data());
    if (begins && begin < packet.size()) {
        begin += 1U + packet[begin];
    }
    if (begin >= packet.size() || !ts_has_payload(packet.data()) || !(begins || hasBegun_)) {
        hasBegun_ = false;
        return false;
    }
    if (begins) {
        bytes_.clear();
    }
    hasBegun_ = true;
    bytes_.insert(bytes_.end(), packet.begin() + static_cast<std::ptrdiff_t>(begin), packet.end());
    if (bytes_.size() < PSI_HEADER_SIZE ||
        bytes_.size() < std::size_t{PSI_HEADER_SIZE} + psi_get_length(bytes_.data())) {
        return false;
    }
    hasBegun_ = false;
    bytes_.resize(std::size_t{PSI_HEADER_SIZE} + psi_get_length(bytes_.data()));
    return psi_get_syntax(bytes_.data()) && psi_validate(bytes_.data()) &&
           psi_check_crc(bytes_.data());
}

void ProgramTables::Take(ts::TsPacketView packet) {
    if (leadingPid_) {
        return;
    }
    std::uint16_t const pid = ts_get_pid(packet.data());
    if (pid == patPid && pat_.Take(packet)) {
        TakePat();
    } else if (pid == pmtPid_ && pmt_.Take(packet)) {
        TakePmt();
    }
}

void ProgramTables::TakePat() {
    unsigned char* const pat = pat_.Bytes().data();
    if (psi_get_tableid(pat) != PAT_TABLE_ID || !pat_validate(pat)) {
        return;
    }
    for (std::uint8_t i = 0; auto const* const program = pat_get_program(pat, i); ++i) {
        if (patn_get_program(program) != 0) { // 0: not a program but the network's table
            pmtPid_ = patn_get_pid(program);
            return;
        }
    }
}

void ProgramTables::TakePmt() {
    unsigned char* const pmt = pmt_.Bytes().data();
    if (psi_get_tableid(pmt) != PMT_TABLE_ID || !pmt_validate(pmt)) {
        return;
    }
    for (std::uint8_t i = 0; auto const* const stream = pmt_get_es(pmt, i); ++i) {
        bool const isVideo = IsVideo(pmtn_get_streamtype(stream));
        if (isVideo || !leadingPid_) {
            leadingPid_ = pmtn_get_pid(stream);
        }
        if (isVideo) {
            return;
        }
    }
}

} // namespace workstation::evidence::exporting

// What a transport stream says about its streams: PAT and PMT.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "ts/TsPacket.h"

namespace workstation::evidence::exporting {

constexpr std::uint16_t patPid = 0;

// Follows the packets of a stream until the PMT of its first program is known.
class ProgramTables {
public:
    // To be called for every packet, in order. Packets with errors are to be left out.
    void Take(ts::TsPacketView packet);

    // The PID of the first video stream of the first program, else that of its first stream. Null
    // until it is known.
    std::optional<std::uint16_t> LeadingPid() const { return leadingPid_; }

private:
    // A section on its way through the packets of a PID.
    class Section {
    public:
        // Returns whether the section is complete.
        bool Take(ts::TsPacketView packet);
        std::vector<unsigned char>& Bytes() { return bytes_; }

    private:
        std::vector<unsigned char> bytes_;
        bool hasBegun_ = false;
    };

    void TakePat();
    void TakePmt();

    Section pat_;
    Section pmt_;
    std::optional<std::uint16_t> pmtPid_;
    std::optional<std::uint16_t> leadingPid_;
};

} // namespace workstation::evidence::exporting

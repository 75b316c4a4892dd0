// A pool image as bytes: its table and its slots, read without the code that wrote them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "FileDescriptor.h"
#include "powercut/SequencePacket.h"

namespace powercut {

struct TableEntry {
    std::uint32_t controller;
    std::uint32_t dbMatch;
    std::uint32_t readers;
    std::uint32_t length;
};

struct FoundTick {
    std::uint32_t number;
    std::int32_t time;
};

// What stands in the place of a packet.
struct FoundPacket {
    std::uint64_t offset; // in the slot
    std::optional<PacketName> name;
    std::optional<FoundTick> tick;
    workstation::ts::TsPacketView bytes;
};

class PoolBytes {
public:
    // Throws std::runtime_error when the file is no pool image.
    explicit PoolBytes(std::filesystem::path const& path);

    int FileCount() const { return fileCount_; }
    TableEntry Entry(int number) const;

    // The data of a stream file, up to a length.
    std::string Data(int number, std::uint32_t length) const;

    // Calls `look` for each place of a packet up to a length.
    void ForEachPacket(int number, std::uint32_t length,
                       std::function<void(FoundPacket const&)> const& look) const;

    // The same for the whole slot, what its stated length does not cover included. Parts that were
    // never written are left out.
    void ForEachPacketOfSlot(int number, std::function<void(FoundPacket const&)> const& look) const;

private:
    void Read(std::uint64_t offset, void* bytes, std::size_t size) const;
    void Scan(int number, std::uint64_t begin, std::uint64_t end,
              std::function<void(FoundPacket const&)> const& look) const;
    std::uint64_t SlotOffset(int number) const;

    workstation::FileDescriptor file_;
    int fileCount_ = 0;
};

} // namespace powercut

// Copies a transport stream and inserts system ticks.
#include "d2b/CopyWithTicks.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <span>
#include <vector>

#include <bitstream/mpeg/ts.h>

#include "Failure.h"
#include "FileDescriptor.h"
#include "NewFile.h"
#include "ts/SystemTickPacket.h"

namespace workstation::d2b {
namespace {

// The stream that ticks are inserted into.
class Source {
public:
    explicit Source(std::string const& path)
        : name_("'" + path + "'")
        , file_(open(path.c_str(), O_RDONLY | O_CLOEXEC))
        , chunk_(ts::tsBlockSize) {
        if (!file_) {
            throw SystemFailure("cannot open " + name_);
        }
    }

    // The next packets, a chunk or as many as are left; empty at the end.
    std::span<unsigned char const> Read();

    // Why the stream cannot be used.
    Failure Refusal(std::string const& reason) const { return {EINVAL, name_ + " " + reason}; }

private:
    std::size_t FillChunk();
    std::string Where() const { return "at byte " + std::to_string(offset_); }
    void CheckPacket(std::span<unsigned char const> packet) const;

    std::string name_;
    FileDescriptor file_;
    std::vector<unsigned char> chunk_;
    std::uint64_t offset_ = 0; // of the next packet
};

// Reads until the chunk is full or the file ends. Returns the number of bytes.
std::size_t Source::FillChunk() {
    std::size_t size = 0;
    while (size < chunk_.size()) {
        ssize_t const got = read(file_.Get(), &chunk_[size], chunk_.size() - size);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            throw SystemFailure("cannot read " + name_);
        }
        if (got == 0) {
            break;
        }
        size += static_cast<std::size_t>(got);
    }
    return size;
}

void Source::CheckPacket(std::span<unsigned char const> packet) const {
    if (packet[0] != ts::tsSyncByte) {
        throw Refusal("is no transport stream: there is no packet " + Where());
    }
    if (packet.size() < ts::tsPacketSize) {
        throw Refusal("ends in the middle of the packet " + Where());
    }
    if (ts_get_pid(packet.data()) == ts::systemTickPid) {
        throw Refusal("has ticks already, the first " + Where());
    }
}

std::span<unsigned char const> Source::Read() {
    auto const packets = std::span(chunk_).first(FillChunk());
    for (auto rest = packets; !rest.empty(); offset_ += ts::tsPacketSize) {
        auto const packet = rest.first(std::min(rest.size(), ts::tsPacketSize));
        CheckPacket(packet);
        rest = rest.subspan(packet.size());
    }
    return packets;
}

} // namespace

void CopyWithTicks(std::string const& source, std::string const& target,
                   ts::TickInserter inserter) {
    Source stream(source);
    NewFile result(target);
    std::vector<unsigned char> out;
    for (auto packets = stream.Read(); !packets.empty(); packets = stream.Read()) {
        out.clear();
        for (; !packets.empty(); packets = packets.subspan(ts::tsPacketSize)) {
            inserter.Pass(packets.first<ts::tsPacketSize>(), out);
        }
        result.Write(out.data(), out.size());
    }
    if (!inserter.HasClock()) {
        throw stream.Refusal("has no PCR to count the ticks by");
    }
    result.Complete();
}

} // namespace workstation::d2b

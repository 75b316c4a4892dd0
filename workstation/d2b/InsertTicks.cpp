// Makes a transport stream with system ticks from one without.
#include "d2b/InsertTicks.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <span>
#include <vector>

#include <bitstream/mpeg/ts.h>

#include "FileDescriptor.h"
#include "NewFile.h"
#include "ts/SystemTickPacket.h"

namespace workstation::d2b {
namespace {

constexpr std::size_t chunkSize = 1024 * ts::tsPacketSize; // as all the transfers of stream files

// The stream that is given ticks.
class Source {
public:
    explicit Source(std::string const& path)
        : name_("'" + path + "'")
        , file_(open(path.c_str(), O_RDONLY | O_CLOEXEC))
        , chunk_(chunkSize) {}

    bool IsOpen(Trouble& why) const { return file_ || FailWithErrno(why, "cannot open " + name_); }

    // The next packets, as many as there are to a chunk; none at the end.
    bool Read(std::span<unsigned char const>& packets, Trouble& why);

    bool Refuse(std::string const& reason, Trouble& why) const {
        return Fail(why, EINVAL, name_ + " " + reason);
    }

private:
    bool FillChunk(std::size_t& size, Trouble& why);
    std::string Where() const { return "at byte " + std::to_string(offset_); }
    bool CheckPacket(std::span<unsigned char const> packet, Trouble& why) const;

    std::string name_;
    FileDescriptor file_;
    std::vector<unsigned char> chunk_;
    std::uint64_t offset_ = 0; // of the next packet
};

// Reads until the chunk is full or the file ends.
bool Source::FillChunk(std::size_t& size, Trouble& why) {
    for (size = 0; size < chunk_.size();) {
        ssize_t const got = read(file_.Get(), &chunk_[size], chunk_.size() - size);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return FailWithErrno(why, "cannot read " + name_);
        }
        if (got == 0) {
            break;
        }
        size += static_cast<std::size_t>(got);
    }
    return true;
}

bool Source::CheckPacket(std::span<unsigned char const> packet, Trouble& why) const {
    if (packet[0] != ts::tsSyncByte) {
        return Refuse("is no transport stream: there is no packet " + Where(), why);
    }
    if (packet.size() < ts::tsPacketSize) {
        return Refuse("ends in the middle of the packet " + Where(), why);
    }
    if (ts_get_pid(packet.data()) == ts::systemTickPid) {
        return Refuse("has ticks already, the first " + Where(), why);
    }
    return true;
}

bool Source::Read(std::span<unsigned char const>& packets, Trouble& why) {
    std::size_t size = 0;
    if (!FillChunk(size, why)) {
        return false;
    }
    packets = std::span(chunk_).first(size);
    for (auto rest = packets; !rest.empty(); offset_ += ts::tsPacketSize) {
        auto const packet = rest.first(std::min(rest.size(), ts::tsPacketSize));
        if (!CheckPacket(packet, why)) {
            return false;
        }
        rest = rest.subspan(packet.size());
    }
    return true;
}

bool Copy(Source& source, NewFile& target, ts::TickInserter& inserter, Trouble& why) {
    std::vector<unsigned char> out;
    std::span<unsigned char const> packets;
    do {
        out.clear();
        if (!source.Read(packets, why)) {
            return false;
        }
        for (auto rest = packets; !rest.empty(); rest = rest.subspan(ts::tsPacketSize)) {
            inserter.Pass(rest.first<ts::tsPacketSize>(), out);
        }
        if (!target.Write(out.data(), out.size(), why)) {
            return false;
        }
    } while (!packets.empty());
    return inserter.HasClock() || source.Refuse("has no PCR to count the ticks by", why);
}

} // namespace

bool InsertTicks(std::string const& source, std::string const& target, ts::TickInserter inserter,
                 Trouble& why) {
    Source stream(source);
    NewFile result;
    return stream.IsOpen(why) && result.Begin(target, why) && Copy(stream, result, inserter, why) &&
           result.Complete(why);
}

} // namespace workstation::d2b

// A transport stream in UDP datagrams as the source of a recording.
#pragma once

#include <cstdint>
#include <memory>

#include "FileDescriptor.h"
#include "service/recording/RtpOrder.h"
#include "service/recording/Source.h"
#include "service/recording/StopEvent.h"
#include "service/recording/UdpAddress.h"

namespace workstation::service::recording {

// Delivers whole packets only, of datagrams with and without RTP headers. Its socket stays open
// while the source is silent, so nothing that comes is lost; a multicast group is joined again.
class UdpSource : public Source {
public:
    // `stop` ends every wait and outlives the source.
    UdpSource(UdpAddress address, StopEvent const& stop);
    ~UdpSource() override;

    Kind GetKind() const override { return Kind::live; }
    void Begin() override;
    Result Read(std::span<unsigned char> room, int timeoutMs) override;
    std::uint64_t DroppedBytes() const override { return droppedBytes_; }

private:
    struct Batch;

    int WaitMs(int timeoutMs) const;
    void Receive();
    void Take(std::span<unsigned char const> bytes);
    Result Deliver(std::span<unsigned char> room);

    UdpAddress address_;
    StopEvent const& stop_;
    FileDescriptor socket_;
    std::unique_ptr<Batch> batch_;
    bool wasFull_ = false; // the last batch
    RtpOrder order_;
    RtpOrder::Bytes ready_;     // packets in their order
    std::size_t delivered_ = 0; // bytes of them
    std::uint64_t droppedBytes_ = 0;
};

} // namespace workstation::service::recording

// A FIFO or a device as the source of a recording.
#pragma once

#include <string>
#include <utility>

#include "service/recording/DescriptorReader.h"

namespace workstation::service::recording {

// A FIFO stays open until it is open again: a writer that comes meanwhile finds a reader, and what
// it writes is kept. A device is closed first: it may allow one reader only.
class PipeSource : public Source {
public:
    // `stop` ends every wait and outlives the source.
    PipeSource(std::string path, StopEvent const& stop)
        : path_(std::move(path))
        , stop_(stop) {}

    Kind GetKind() const override { return Kind::live; }
    void Begin() override;
    Result Read(std::span<unsigned char> room, int timeoutMs) override {
        return ReadDescriptor(descriptor_, stop_, room, timeoutMs);
    }

private:
    std::string path_;
    StopEvent const& stop_;
    FileDescriptor descriptor_;
    bool isFifo_ = false;
};

} // namespace workstation::service::recording

// A FIFO or a device as the source of a recording.
#pragma once

#include <string>
#include <utility>

#include "service/recording/DescriptorSource.h"

namespace workstation::service::recording {

// A FIFO stays open until it is open again: a writer that comes meanwhile finds a reader, and what
// it writes is kept. A device is closed first: it may allow one reader only.
class PipeSource : public DescriptorSource {
public:
    // `stop` ends every wait and outlives the source.
    PipeSource(std::string path, StopEvent const& stop)
        : DescriptorSource(stop)
        , path_(std::move(path)) {}

    Kind GetKind() const override { return Kind::live; }
    void Begin() override;

private:
    std::string path_;
    bool isFifo_ = false;
};

} // namespace workstation::service::recording

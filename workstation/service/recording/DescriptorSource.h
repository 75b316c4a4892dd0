// A source that is an open descriptor.
#pragma once

#include <span>

#include "FileDescriptor.h"
#include "service/recording/Source.h"
#include "service/recording/StopEvent.h"

namespace workstation::service::recording {

// Begin opens the descriptor.
class DescriptorSource : public Source {
public:
    Result Read(std::span<unsigned char> room, int timeoutMs) override;

protected:
    // `stop` ends every wait and outlives the source.
    explicit DescriptorSource(StopEvent const& stop)
        : stop_(stop) {}

    FileDescriptor descriptor_;

private:
    StopEvent const& stop_;
};

} // namespace workstation::service::recording

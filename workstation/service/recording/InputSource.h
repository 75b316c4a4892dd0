// Standard input, or another open descriptor, as the source of a recording.
#pragma once

#include "service/recording/DescriptorSource.h"

namespace workstation::service::recording {

// Live whatever it is, also a file. Once its writers have gone no others can come, so it is begun
// once.
class InputSource : public DescriptorSource {
public:
    // `input` is open when the source is begun. `stop` ends every wait and outlives the source.
    InputSource(int input, StopEvent const& stop)
        : DescriptorSource(stop)
        , input_(input) {}

    Kind GetKind() const override { return Kind::input; }
    void Begin() override;

private:
    int input_;
};

} // namespace workstation::service::recording

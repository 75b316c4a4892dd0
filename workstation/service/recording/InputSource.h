// Standard input, or another open descriptor, as the source of a recording.
#pragma once

#include "service/recording/DescriptorReader.h"

namespace workstation::service::recording {

// Live whatever it is, also a file. Once its writers have gone no others can come, so it is begun
// once.
class InputSource : public Source {
public:
    // `input` is open when the source is begun. `stop` ends every wait and outlives the source.
    InputSource(int input, StopEvent const& stop)
        : input_(input)
        , stop_(stop) {}

    Kind GetKind() const override { return Kind::input; }
    void Begin() override;
    Result Read(std::span<unsigned char> room, int timeoutMs) override {
        return ReadDescriptor(descriptor_, stop_, room, timeoutMs);
    }

private:
    int input_;
    StopEvent const& stop_;
    FileDescriptor descriptor_;
};

} // namespace workstation::service::recording

// Standard input as the source of a recording.
#pragma once

#include "service/recording/DescriptorReader.h"

namespace workstation::service::recording {

// Live whatever it is, also a file. It cannot be opened again, so it is begun once.
class InputSource : public Source {
public:
    // `stop` ends every wait and outlives the source.
    explicit InputSource(StopEvent const& stop)
        : stop_(stop) {}

    Kind GetKind() const override { return Kind::input; }
    void Begin() override;
    Result Read(std::span<unsigned char> room, int timeoutMs) override {
        return ReadDescriptor(descriptor_, stop_, room, timeoutMs);
    }

private:
    StopEvent const& stop_;
    FileDescriptor descriptor_;
};

} // namespace workstation::service::recording

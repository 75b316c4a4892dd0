// A regular file as the source of a recording.
#pragma once

#include <string>
#include <utility>

#include "service/recording/DescriptorReader.h"

namespace workstation::service::recording {

class FileSource : public Source {
public:
    // `stop` ends every wait and outlives the source.
    FileSource(std::string path, StopEvent const& stop)
        : path_(std::move(path))
        , stop_(stop) {}

    Kind GetKind() const override { return Kind::file; }
    void Begin() override;
    Result Read(std::span<unsigned char> room, int timeoutMs) override {
        return ReadDescriptor(descriptor_, stop_, room, timeoutMs);
    }

private:
    std::string path_;
    StopEvent const& stop_;
    FileDescriptor descriptor_;
};

} // namespace workstation::service::recording

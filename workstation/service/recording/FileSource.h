// A regular file as the source of a recording.
#pragma once

#include <string>
#include <utility>

#include "service/recording/DescriptorSource.h"

namespace workstation::service::recording {

class FileSource : public DescriptorSource {
public:
    // `stop` ends every wait and outlives the source.
    FileSource(std::string path, StopEvent const& stop)
        : DescriptorSource(stop)
        , path_(std::move(path)) {}

    Kind GetKind() const override { return Kind::file; }
    void Begin() override;

private:
    std::string path_;
};

} // namespace workstation::service::recording

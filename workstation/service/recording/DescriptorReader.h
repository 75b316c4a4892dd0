// Reads a descriptor, and stops when the recording is to stop.
#pragma once

#include <span>

#include "FileDescriptor.h"
#include "service/recording/Source.h"
#include "service/recording/StopEvent.h"

namespace workstation::service::recording {

// Reads as Source::Read does. The text of a Failure is that of the errno alone.
Source::Result ReadDescriptor(FileDescriptor const& descriptor, StopEvent const& stop,
                              std::span<unsigned char> room, int timeoutMs);

} // namespace workstation::service::recording

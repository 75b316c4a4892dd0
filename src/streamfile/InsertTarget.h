// Opening the stream file that an insertion writes over.
#pragma once

#include "StreamMgrFileMgmnt.h"

namespace streamfile {

// The write controller of a stream file that a tool writes: a process other than the service.
inline constexpr auto externalProcess = static_cast<StreamMgrFileMgmnt::Control_t>(7);

} // namespace streamfile

// A FIFO or a device as the source of a recording.
#include "service/recording/PipeSource.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "service/recording/SourceFailure.h"

namespace workstation::service::recording {

void PipeSource::Begin() {
    if (!isFifo_) {
        descriptor_.Reset();
    }
    FileDescriptor next(open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!next || fstat(next.Get(), &status) != 0) {
        throw FailureOfErrno();
    }
    if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) {
        throw Failure(EINVAL, "neither a FIFO nor a device");
    }
    isFifo_ = S_ISFIFO(status.st_mode);
    descriptor_ = std::move(next);
}

} // namespace workstation::service::recording

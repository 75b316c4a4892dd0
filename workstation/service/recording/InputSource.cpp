// Standard input, or another open descriptor, as the source of a recording.
#include "service/recording/InputSource.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "service/recording/SourceFailure.h"

namespace workstation::service::recording {

void InputSource::Begin() {
    descriptor_.Reset(fcntl(input_, F_DUPFD_CLOEXEC, 0));
    struct stat status {};
    if (!descriptor_ || fstat(descriptor_.Get(), &status) != 0) {
        throw FailureOfErrno();
    }
    if (S_ISDIR(status.st_mode)) {
        throw FailureOfErrno(EISDIR);
    }
    fcntl(input_, F_SETFD, FD_CLOEXEC); // not for the commands of other sources
}

} // namespace workstation::service::recording

// Standard input as the source of a recording.
#include "service/recording/InputSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "service/recording/SourceFailure.h"

namespace workstation::service::recording {

void InputSource::Begin() {
    descriptor_.Reset(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    struct stat status {};
    if (!descriptor_ || fstat(descriptor_.Get(), &status) != 0) {
        throw FailureOfErrno();
    }
    if (S_ISDIR(status.st_mode)) {
        throw FailureOfErrno(EISDIR);
    }
}

} // namespace workstation::service::recording

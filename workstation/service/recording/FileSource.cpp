// A regular file as the source of a recording.
#include "service/recording/FileSource.h"

#include <fcntl.h>
#include <unistd.h>

#include "service/recording/SourceFailure.h"

namespace workstation::service::recording {

// The file that was opened first is read again, whatever has taken its name since.
void FileSource::Begin() {
    if (!descriptor_) {
        descriptor_.Reset(open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    }
    if (!descriptor_ || lseek(descriptor_.Get(), 0, SEEK_SET) != 0) {
        throw FailureOfErrno();
    }
}

} // namespace workstation::service::recording

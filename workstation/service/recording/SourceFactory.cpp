// Makes the source that an argument of --record names.
#include "service/recording/SourceFactory.h"

#include <sys/stat.h>

#include "service/recording/FileSource.h"
#include "service/recording/InputSource.h"
#include "service/recording/PipeSource.h"
#include "service/recording/SourceFailure.h"

namespace workstation::service::recording {

std::unique_ptr<Source> MakeSource(std::string const& source, StopEvent const& stop) {
    if (source == "-") {
        return std::make_unique<InputSource>(stop);
    }
    struct stat status {};
    if (stat(source.c_str(), &status) != 0) {
        throw FailureOfErrno();
    }
    if (S_ISDIR(status.st_mode)) {
        throw FailureOfErrno(EISDIR);
    }
    if (S_ISREG(status.st_mode)) {
        return std::make_unique<FileSource>(source, stop);
    }
    return std::make_unique<PipeSource>(source, stop);
}

} // namespace workstation::service::recording

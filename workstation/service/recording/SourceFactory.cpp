// Makes the source that an argument of --record names.
#include "service/recording/SourceFactory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <optional>
#include <string_view>

#include "service/recording/ExecSource.h"
#include "service/recording/FileSource.h"
#include "service/recording/InputSource.h"
#include "service/recording/PipeSource.h"
#include "service/recording/SourceFailure.h"
#include "service/recording/SourceName.h"
#include "service/recording/UdpSource.h"

namespace workstation::service::recording {

namespace {

// The number at the end of /dev/fd/NUMBER, as a shell names a pipe that it has made.
std::optional<int> InheritedDescriptor(std::string_view path) {
    constexpr std::string_view folder = "/dev/fd/";
    int number = 0;
    if (!path.starts_with(folder)) {
        return std::nullopt;
    }
    path.remove_prefix(folder.size());
    auto const parsed = std::from_chars(path.data(), path.data() + path.size(), number);
    bool const isNumber = parsed.ec == std::errc() && parsed.ptr == path.data() + path.size();
    return isNumber ? std::optional(number) : std::nullopt;
}

} // namespace

std::unique_ptr<Source> MakeSource(std::string const& source, StopEvent const& stop) {
    if (source == "-") {
        return std::make_unique<InputSource>(STDIN_FILENO, stop);
    }
    if (source.starts_with(execPrefix)) {
        return std::make_unique<ExecSource>(source.substr(execPrefix.size()), stop);
    }
    if (auto const address = ParseUdpAddress(source)) {
        return std::make_unique<UdpSource>(*address, stop);
    }
    if (auto const descriptor = InheritedDescriptor(source)) {
        return std::make_unique<InputSource>(*descriptor, stop);
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

// What the log shows of a source.
#include "service/recording/SourceName.h"

namespace workstation::service::recording {

std::string SourceName(std::string const& source) {
    return source == "-" ? "standard input" : "'" + source + "'";
}

} // namespace workstation::service::recording

// The lines on standard error that the stream-file tools have in common.
#include "transfer/ErrorLines.h"

#include <cerrno>
#include <cstring>
#include <iostream>

namespace transfer {

void SystemErrorLine(std::initializer_list<std::string_view> texts) {
    int const error = errno; // before printing changes it
    for (std::string_view const text : texts) {
        std::cerr << text;
    }
    std::cerr << error << std::strerror(error) << std::endl;
}

void ShortTransferLine(std::string_view what, long size, long expected, long actual) {
    std::cerr << " unexpected EOF: fileSize=" << size << " expected" << what << "=" << expected
              << "  actual" << what << "=" << actual << std::endl;
}

} // namespace transfer

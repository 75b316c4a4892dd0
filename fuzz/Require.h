// What must hold whatever the input is.
#pragma once

#include <cstdlib>

// Ends the process, which the fuzzer reports as a failure.
inline void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

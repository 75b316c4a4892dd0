// The progress marks of a long transfer.
#pragma once

#include <iostream>
#include <string>
#include <utility>

namespace transfer {

// Prints a mark on standard output after every eighth chunk.
class ProgressMarks {
public:
    explicit ProgressMarks(std::string mark = ".")
        : mark_(std::move(mark)) {}

    void CountChunk() {
        if (++chunks_ % 8 == 0) {
            std::cout << mark_ << std::flush;
        }
    }

private:
    std::string mark_;
    unsigned int chunks_ = 0;
};

} // namespace transfer

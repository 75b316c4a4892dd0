// The thread function of --multiextract and --multiread.
#include "streamfile/CopyThread.h"

#include <cstdint>
#include <iostream>

#include "streamfile/CopyStreamFile.h"
#include "streamfile/ReadStreamFile.h"

namespace {

// Deliberate: nothing stands between the file number and the text after it.
void PrintResult(std::ostream& out, int fileNumber, long statedLength, char const* verb,
                 long moved) {
    out << "File: " << fileNumber << "Stated file length: " << statedLength << "  " << verb << ": "
        << moved << std::endl;
}

} // namespace

void* CopyThread(void* argument) {
    auto const number = static_cast<int>(reinterpret_cast<std::intptr_t>(argument));
    long statedLength = 0;
    long moved = 0;
    if (number < 0) {
        int const fileNumber = static_cast<int>(0U - static_cast<unsigned int>(number));
        bool const succeeded = CopyStreamFile(fileNumber, statedLength, moved, false);
        PrintResult(succeeded ? std::cout : std::cerr, fileNumber, statedLength, "copied", moved);
    } else {
        // Deliberate: success goes to standard error and failure to standard output, the opposite
        // of a copy. Scripts that collect the two streams rely on it.
        bool const succeeded = ReadStreamFile(number, statedLength, moved, false);
        PrintResult(succeeded ? std::cerr : std::cout, number, statedLength, "read", moved);
    }
    return nullptr;
}

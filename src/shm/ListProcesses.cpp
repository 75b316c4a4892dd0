// Option --lproc: lists the processes that use the pool.
#include "shm/ListProcesses.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <iomanip>
#include <iostream>
#include <string>
#include <unistd.h>

#include "StreamMgrFileMgmnt.h"

namespace {

// The layout of the process table, in bytes.
constexpr std::size_t headerSize = 28;
constexpr std::size_t recordCount = 128;
constexpr std::size_t slotCount = 64;
constexpr std::size_t wordSize = 4;
constexpr std::size_t slotSize = wordSize    // marker; 0: free
                                 + wordSize  // thread handle
                                 + wordSize; // number of the stream file
constexpr std::size_t recordSize = wordSize  // process id; below 1: free
                                   + slotCount * slotSize;
static_assert(recordSize == 772);

// A word in the byte order of the machine.
template <typename Word>
Word ReadWord(unsigned char const* place) {
    Word word{};
    static_assert(sizeof(word) == wordSize);
    std::memcpy(&word, place, sizeof(word));
    return word;
}

bool IsAlive(std::int32_t pid) {
    return pid >= 1 && kill(pid, 0) == 0;
}

// Reads the command lines of processes; the arguments are separated by blanks.
class CommandLineReader {
public:
    std::string Read(std::int32_t pid) {
        std::string const path = "/proc/" + std::to_string(pid) + "/cmdline";
        // Deliberate: not closed, so that one descriptor for each listed process stays open.
        int const descriptor = open(path.c_str(), O_RDONLY);
        if (descriptor < 1) {
            return {};
        }
        ssize_t const count = read(descriptor, text_.data(), text_.size() - 1);
        if (count > 0) {
            auto const end = text_.begin() + count;
            std::replace(text_.begin(), end, '\0', ' ');
            *end = '\0';
        }
        return text_.data();
    }

private:
    // Deliberate: not cleared between processes. A process without a command line, such as a kernel
    // thread, shows that of the process before it.
    std::array<char, 512> text_{};
};

void PrintThreads(unsigned char const* slots) {
    for (std::size_t slot = 0; slot < slotCount; ++slot) {
        unsigned char const* const words = slots + slot * slotSize;
        if (ReadWord<std::uint32_t>(words) == 0) {
            continue;
        }
        std::cout << "       - " << std::hex << std::setw(10)
                  << ReadWord<std::uint32_t>(words + wordSize) << std::dec
                  << " file: " << ReadWord<std::int32_t>(words + 2 * wordSize) << std::endl;
    }
}

} // namespace

bool ListProcesses() {
    StreamMgrFileMgmnt sharedMemory;
    if (!sharedMemory.Initialize(0, false, false) || sharedMemory.ProcessTable() == nullptr) {
        std::cout << "failed to initialize shared memory" << std::endl;
        return false;
    }
    CommandLineReader commandLines;
    for (std::size_t index = 0; index < recordCount; ++index) {
        unsigned char const* const record =
            sharedMemory.ProcessTable() + headerSize + index * recordSize;
        auto const pid = ReadWord<std::int32_t>(record);
        if (!IsAlive(pid)) {
            continue;
        }
        std::string const name = commandLines.Read(pid);
        std::cout << std::setw(3) << index << std::setw(6) << pid << "   " << name << std::endl;
        PrintThreads(record + wordSize);
    }
    return true;
}

// Options --multiextract and --multiread: several stream files at once, a thread for each.
#include "streamfile/MultiRead.h"

#include <cstdint>
#include <cstring>
#include <iostream>
#include <pthread.h>
#include <string>
#include <vector>

#include "common/Int32.h"
#include "streamfile/CopyThread.h"

namespace {

std::vector<int> ParseFileList(std::string list) {
    std::vector<int> numbers;
    for (char* token = std::strtok(list.data(), ", "); token != nullptr;
         token = std::strtok(nullptr, ", ")) {
        int const number = common::ParseInt32(token);
        if (number > 0) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

} // namespace

void MultiRead(char const* list, bool extract) {
    std::vector<int> const numbers = ParseFileList(list);

    // Threads are started from the last number to the first, and joined in list order. A thread
    // that cannot be started is skipped.
    std::vector<pthread_t> threads;
    for (auto number = numbers.rbegin(); number != numbers.rend(); ++number) {
        auto const argument = static_cast<std::intptr_t>(extract ? -*number : *number);
        pthread_t thread{};
        if (pthread_create(&thread, nullptr, CopyThread, reinterpret_cast<void*>(argument)) == 0) {
            threads.push_back(thread);
        }
    }
    for (auto thread = threads.rbegin(); thread != threads.rend(); ++thread) {
        pthread_join(*thread, nullptr);
    }

    std::cout << "complete"; // deliberate: no newline, the next output follows on the same line
}

// Programs that a test runs in a process of its own.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

// Replaces this process by a program: its path and arguments. TEST_EMULATOR is the command line
// that runs programs of another processor, or empty. Returns only on failure, with an exit status.
inline int Execute(std::vector<std::string> const& program) {
    std::vector<std::string> words;
    std::istringstream emulator(TEST_EMULATOR);
    std::copy(std::istream_iterator<std::string>(emulator), {}, std::back_inserter(words));
    words.insert(words.end(), program.begin(), program.end());
    std::vector<char*> arguments;
    for (auto& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    return 99;
}

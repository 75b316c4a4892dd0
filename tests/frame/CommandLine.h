// A command line in the form of the parameters of main.
#pragma once

#include <string>
#include <utility>
#include <vector>

class CommandLine {
public:
    explicit CommandLine(std::vector<std::string> arguments)
        : arguments_(std::move(arguments)) {
        for (auto& argument : arguments_) {
            argv_.push_back(argument.data());
        }
        argv_.push_back(nullptr);
    }

    char** Argv() { return argv_.data(); }
    int Argc() const { return static_cast<int>(arguments_.size()); }

private:
    std::vector<std::string> arguments_;
    std::vector<char*> argv_;
};

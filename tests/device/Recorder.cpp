// A recorder for a tool that is built for the device: the scripted platform for as long as the
// process lives, with a frame that carries out the command line and then says what the tool called
// and said.
#include <getopt.h>

#include <cstdio>
#include <vector>

#include "fakes/FakePlatform.h"

namespace {

unsigned int CarryOut(FakePlatform& platform, CommonCli& cli) {
    auto& line = *platform.commandLine;
    std::vector<char*> words;
    for (std::string& argument : line.arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    std::vector<std::pair<int, char const*>> options;
    for (int value = 0; (value = getopt_long(static_cast<int>(line.arguments.size()), words.data(),
                                             line.shortOptions.c_str(), line.longOptions.data(),
                                             nullptr)) != -1;) {
        options.emplace_back(value, optarg);
    }
    unsigned int const result = PlayOptions(options)(cli);
    static_cast<void>(
        std::fputs(platform.Recorded().Trace().c_str(), stdout)); // std::cout is in it
    return result;
}

class Recorder {
public:
    Recorder() {
        platform_.AddStreamFiles({5}, 200);
        platform_.frame = [this](CommonCli& cli) { return CarryOut(platform_, cli); };
    }

private:
    FakePlatform platform_;
};

Recorder const recorder;

} // namespace

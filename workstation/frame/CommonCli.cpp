// The command-line frame: runs one command line against the virtual operations of a tool.
#include "CommonCli.h"

#include <exception>
#include <functional>
#include <iostream>

#include "Item.h"
#include "LinxIpc.h"
#include "api/ServiceMessages.h"
#include "api/ServiceRequest.h"
#include "frame/LogLevelMenu.h"
#include "frame/OptionReader.h"

using namespace workstation::api;
using namespace workstation::frame;

namespace {

enum Status : unsigned int { prepared = 1, failed = 2, carriedOut = 3 };

constexpr int answerTimeoutMs = 5000;

// Whether the step returns `expected`. An exception is reported and counts as a failure.
bool Succeeds(unsigned int expected, std::function<unsigned int()> const& step) {
    try {
        return step() == expected;
    } catch (std::exception const& exception) {
        std::cerr << exception.what() << std::endl;
    } catch (...) {
        std::cerr << "unknown exception" << std::endl;
    }
    return false;
}

// Null when the answer was received, else the reason for people.
char const* Problem(Answer answer) {
    switch (answer) {
    case Answer::received:
        return nullptr;
    case Answer::missing:
        return "no answer";
    case Answer::malformed:
        return "malformed answer";
    }
    return nullptr;
}

} // namespace

CommonCli::CommonCli() = default;
CommonCli::~CommonCli() = default;

unsigned int CommonCli::RunIt() {
    return carriedOut;
}

unsigned int CommonCli::PreInit() {
    return prepared;
}

unsigned int CommonCli::Go(char** argv, int argc, std::string const& shortOptions,
                           option const* longOptions) {
    bool good = Succeeds(prepared, [this] { return PreInit(); });
    OptionReader options(argv, argc, shortOptions, longOptions);
    auto next = options.Next();
    if (!next) {
        good = false;
        Succeeds(carriedOut, [this] {
            Usage();
            return carriedOut;
        });
    }
    for (; next; next = options.Next()) {
        good &= Succeeds(carriedOut, [&] { return ProcessOption(next->value, next->argument); });
    }
    good &= Succeeds(prepared, [this] { return PostInit(); });
    good &= Succeeds(carriedOut, [this] { return RunIt(); });
    return good ? carriedOut : failed;
}

unsigned int CommonCli::SetLogLevel(LinxIpc& ipc, std::string const& server, unsigned int level) {
    UIntItem wanted(level);
    BoolItem accepted;
    char const* problem = Problem(Ask({ipc, server, answerTimeoutMs}, setLogLevelRequest, {&wanted},
                                      setLogLevelReply, {&accepted}));
    if (problem == nullptr && !accepted.Value()) {
        problem = "refused";
    }
    if (problem != nullptr) {
        std::cerr << "Could not set the log level of " << server << ": " << problem << std::endl;
        return 0;
    }
    return 1;
}

unsigned int CommonCli::HandleLogLevel(LinxIpc& ipc, std::string const& server) {
    UIntItem present;
    char const* const problem = Problem(
        Ask({ipc, server, answerTimeoutMs}, getLogLevelRequest, {}, getLogLevelReply, {&present}));
    if (problem != nullptr) {
        std::cerr << "Could not get the log level of " << server << ": " << problem << std::endl;
        return failed;
    }
    std::cout << LogLevelMenu(server, present.Value()) << std::flush;
    std::string line;
    if (!std::getline(std::cin, line)) {
        std::cout << std::endl; // ends the line of the prompt
        std::cerr << "No log level was chosen" << std::endl;
        return failed;
    }
    auto const level = ParseLogLevel(line);
    if (!level) {
        std::cerr << "There is no log level '" << line << '\'' << std::endl;
        return failed;
    }
    return SetLogLevel(ipc, server, *level) == 1 ? carriedOut : failed;
}

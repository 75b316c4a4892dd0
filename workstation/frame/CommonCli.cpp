// The command-line frame: runs one command line against the virtual operations of a tool.
#include "CommonCli.h"

#include <exception>
#include <functional>
#include <iostream>

#include "IpcMessage.h"
#include "Item.h"
#include "LinxIpc.h"
#include "api/ServiceMessages.h"
#include "frame/LogLevel.h"
#include "frame/OptionReader.h"
#include "ipc/Payload.h"

namespace {

enum Status : unsigned int { prepared = 1, failed = 2, carriedOut = 3 };

constexpr int answerTimeoutMs = 5000;

// Whether the step returns `expected`. What it throws is reported and is a failure.
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

// Sends `request` and decodes the answer. Null on success, else what went wrong.
char const* Ask(LinxIpc& ipc, std::string const& server, IpcMessage& request, unsigned int replyId,
                Item& answer) {
    IpcMessage reply;
    if (ipc.Request(server, request, replyId, answerTimeoutMs, &reply) != 0) {
        return "no answer";
    }
    return workstation::ipc::UnpackMessage(reply, {&answer}) ? nullptr : "malformed answer";
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
    workstation::frame::OptionReader options(argv, argc, shortOptions, longOptions);
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
    IpcMessage request;
    UIntItem wanted(level);
    BoolItem accepted;
    workstation::ipc::PackMessage(request, workstation::api::setLogLevelRequest, {&wanted});
    char const* problem = Ask(ipc, server, request, workstation::api::setLogLevelReply, accepted);
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
    IpcMessage request;
    UIntItem present;
    workstation::ipc::PackMessage(request, workstation::api::getLogLevelRequest, {});
    if (char const* const problem =
            Ask(ipc, server, request, workstation::api::getLogLevelReply, present)) {
        std::cerr << "Could not get the log level of " << server << ": " << problem << std::endl;
        return failed;
    }
    std::cout << workstation::frame::LogLevelMenu(server, present.Value()) << std::flush;
    std::string line;
    if (!std::getline(std::cin, line)) {
        std::cout << std::endl; // nobody has ended the line of the prompt
        std::cerr << "No log level was chosen" << std::endl;
        return failed;
    }
    auto const level = workstation::frame::ParseLogLevel(line);
    if (!level) {
        std::cerr << "There is no log level '" << line << '\'' << std::endl;
        return failed;
    }
    return SetLogLevel(ipc, server, *level) == 1 ? carriedOut : failed;
}

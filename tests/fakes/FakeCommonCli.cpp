// The frame, scripted.
#include "CommonCli.h"

#include "FakePlatform.h"
#include "Show.h"

CommonCli::CommonCli() {
    FakePlatform::Get().Note("CommonCli()");
}

CommonCli::~CommonCli() {
    FakePlatform::Get().Note("~CommonCli()");
}

unsigned int CommonCli::HandleLogLevel(LinxIpc& ipc, std::string const& server) {
    FakePlatform& platform = FakePlatform::Get();
    return static_cast<unsigned int>(
        platform.Ask("", "HandleLogLevel", platform.NameOf(ipc) + ", " + Show(server), 3));
}

unsigned int CommonCli::SetLogLevel(LinxIpc& ipc, std::string const& server, unsigned int level) {
    FakePlatform& platform = FakePlatform::Get();
    return static_cast<unsigned int>(
        platform.Ask("", "SetLogLevel", platform.NameOf(ipc) + ", " + ShowAll(server, level), 1));
}

unsigned int CommonCli::RunIt() {
    return static_cast<unsigned int>(FakePlatform::Get().Ask("", "RunIt", "", 3));
}

unsigned int CommonCli::PreInit() {
    return static_cast<unsigned int>(FakePlatform::Get().Ask("", "PreInit", "", 1));
}

unsigned int CommonCli::Go(char** argv, int argc, std::string const& shortOptions,
                           option const* longOptions) {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("Go(" + ShowAll(argc, shortOptions) + ")");
    FakePlatform::CommandLine line;
    line.arguments.assign(argv, argv + argc);
    line.shortOptions = shortOptions;
    do {
        line.longOptions.push_back(*longOptions);
    } while ((longOptions++)->name != nullptr);
    platform.commandLine = line;
    return platform.frame(*this);
}

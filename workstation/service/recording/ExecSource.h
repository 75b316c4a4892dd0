// A command that writes a transport stream to its standard output, as the source of a recording.
#pragma once

#include <optional>
#include <string>

#include "service/recording/Command.h"
#include "service/recording/LastWords.h"
#include "service/recording/Source.h"
#include "service/recording/StopEvent.h"

namespace workstation::service::recording {

// The command is ended when it is begun again, and with the object: both take half a second when it
// ignores SIGTERM.
class ExecSource : public Source {
public:
    // `stop` ends every wait and outlives the source.
    ExecSource(std::string command, StopEvent const& stop);

    Kind GetKind() const override { return Kind::live; }
    void Begin() override;

    // The end of the command is a Failure with its exit status.
    Result Read(std::span<unsigned char> room, int timeoutMs) override;

    std::vector<std::string> LastWords() const override { return words_.Lines(); }

private:
    ssize_t HearErrors();
    [[noreturn]] void FailWithStatus();

    std::string commandLine_;
    StopEvent const& stop_;
    recording::LastWords words_;
    std::optional<Command> command_;
    bool hasErrors_ = false; // standard error is open
};

} // namespace workstation::service::recording

// Log entries of the platform and of the service.
#pragma once

#include <string_view>

#include "FileDescriptor.h"

namespace workstation::log {

// How much an entry matters: the priority that it has in the system log.
enum class Severity {
    error,   // something is not done, or lost
    warning, // something may become an error, or has gone
    notice,  // a change that is worth knowing
    info,    // requests with their senders, and what they asked for
};

// Errors, notifications, and requests with their senders: level 1, whatever their severity.
void LogNotification(std::string_view text, Severity severity = Severity::notice);

inline void LogError(std::string_view text) {
    LogNotification(text, Severity::error);
}

inline void LogWarning(std::string_view text) {
    LogNotification(text, Severity::warning);
}

// Details that help to understand the rest: level 2, of the severity info.
void LogNote(std::string_view text);

// While an object lives, errors and warnings of the process that repeat are held back, as
// RepeatFilter says. One at a time.
class HeldBackRepeats {
public:
    // Throws a Failure.
    HeldBackRepeats();
    // Logs what is held back.
    ~HeldBackRepeats();

    HeldBackRepeats(HeldBackRepeats const&) = delete;
    HeldBackRepeats& operator=(HeldBackRepeats const&) = delete;

    // For poll(2): readable when WriteDue has something to log.
    int Descriptor() const { return timer_.Get(); }

    // Logs what was held back and is due.
    void WriteDue();

    // The same for what is not due yet.
    void WriteAll();

private:
    FileDescriptor timer_;
};

} // namespace workstation::log

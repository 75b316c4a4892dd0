// What a command printed last on standard error, fit for the log.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace workstation::service::recording {

// The last three lines, the first 200 characters of each. What may be secret in the command line is
// replaced by "***": its words of four and more characters other than options and the program, and
// a user and a password in an address. Other than printable characters become "?".
class LastWords {
public:
    explicit LastWords(std::string_view command);

    // The next bytes that the command printed.
    void Add(std::string_view text);

    // Also a line that is not complete.
    std::vector<std::string> Lines() const;

    void Clear();

private:
    void EndLine();
    std::string Shown(std::string line) const;

    std::vector<std::string> secrets_; // the longest first
    std::deque<std::string> lines_;
    std::string line_; // not complete
};

} // namespace workstation::service::recording

// Events of a recorder, as the tool and the service speak of them.
#pragma once

#include <string>
#include <vector>

#include "Recorder.h"

namespace e2e {

// An interval for --ratf that holds everything that is recorded while these tests are in use.
inline std::string const everySince2000 = "010100-000000,010137-000000";

// The text with every match of the regular expression replaced.
std::string Replaced(std::string const& text, std::string const& expression,
                     std::string const& replacement);

// The text with REID for every record event identifier.
std::string WithoutReids(std::string const& text);

// The first record event identifier in the text; empty when there is none.
std::string FirstReid(std::string const& text);

// Has the tool make an event; its identifier.
std::string MakeEvent(Recorder const& recorder, std::string const& interval);

// The numbers of the files that the service has listed as a chain, in order.
std::vector<int> FilesOfChain(std::string const& log);

} // namespace e2e

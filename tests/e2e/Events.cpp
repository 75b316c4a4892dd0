// Events of a recorder, as the tool and the service speak of them.
#include "Events.h"

#include <gtest/gtest.h>

#include <regex>

namespace e2e {
namespace {

std::string const reidExpression = "[0-9]{8}-[0-9]{6}:[0-9a-f]{8}";

} // namespace

std::string Replaced(std::string const& text, std::string const& expression,
                     std::string const& replacement) {
    return std::regex_replace(text, std::regex(expression), replacement);
}

std::string WithoutReids(std::string const& text) {
    return Replaced(text, reidExpression, "REID");
}

std::string FirstReid(std::string const& text) {
    std::smatch match;
    return std::regex_search(text, match, std::regex(reidExpression)) ? match.str() : "";
}

std::string MakeEvent(Recorder const& recorder, std::string const& interval) {
    Outcome const outcome = recorder.Tool({"--ratf", interval});
    std::string const reid = FirstReid(outcome.out);
    EXPECT_EQ(outcome, (Outcome{0, "RATF event created REID " + reid + '\n', ""}));
    return reid;
}

std::vector<int> FilesOfChain(std::string const& log) {
    std::regex const line("  file ([0-9]+), ");
    std::vector<int> numbers;
    for (std::sregex_iterator match(log.begin(), log.end(), line), end; match != end; ++match) {
        numbers.push_back(std::stoi((*match)[1]));
    }
    return numbers;
}

} // namespace e2e

// The command line of the paired benchmark runner.
#include "PairedOptions.h"

#include <algorithm>
#include <cstdlib>
#include <span>

namespace benchmarks {
namespace {

// Takes the arguments one after the other.
class Arguments {
public:
    explicit Arguments(std::span<char*> words)
        : words_(words) {}

    bool Empty() const { return words_.empty(); }

    // An empty text when there is none left.
    std::string Next() {
        if (words_.empty()) {
            return {};
        }
        std::string word = words_.front();
        words_ = words_.subspan(1);
        return word;
    }

    // What stands before the next "--", which is taken as well.
    Words Command() {
        Words command;
        while (!Empty()) {
            std::string word = Next();
            if (word == "--") {
                break;
            }
            command.push_back(std::move(word));
        }
        return command;
    }

private:
    std::span<char*> words_;
};

double Number(std::string const& text) {
    return std::strtod(text.c_str(), nullptr);
}

bool TakeOption(std::string const& name, Arguments& arguments, PairedOptions& options) {
    if (name == "--title") {
        options.title = arguments.Next();
    } else if (name == "--rounds") {
        options.rounds = static_cast<int>(Number(arguments.Next()));
    } else if (name == "--time-target") {
        options.timeTarget = Number(arguments.Next());
    } else if (name == "--memory-target") {
        options.memoryTargetMiB = Number(arguments.Next());
    } else if (name == "--remove") {
        options.removed.push_back(arguments.Next());
    } else if (name == "--evict") {
        options.evicted.push_back(arguments.Next());
    } else if (name == "--warm") {
        options.warmed.push_back(arguments.Next());
    } else if (name == "--same") {
        std::string first = arguments.Next();
        options.same.emplace(std::move(first), arguments.Next());
    } else {
        return false;
    }
    return true;
}

} // namespace

char const* const pairedUsage =
    "Usage: paired [OPTION]... -- COMMAND... -- OTHER COMMAND...\n"
    "Runs two commands in turn and prints a table row that compares them.\n"
    "  --title TEXT             name of the row\n"
    "  --rounds N               runs of each command (31)\n"
    "  --time-target RATIO      wanted ratio of wall times, command to other command\n"
    "  --memory-target MIB      wanted peak memory of the command\n"
    "  --same FILE FILE         what the commands write, which must be equal\n"
    "before every run, as often as needed:\n"
    "  --remove FILE            remove it\n"
    "  --evict FILE             drop it from the page cache\n"
    "  --warm FILE              read it into the page cache\n"
    "Without commands: the head of the table.\n";

std::optional<PairedOptions> ParsePairedOptions(int argc, char** argv) {
    PairedOptions options;
    Arguments arguments(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
    for (std::string word = arguments.Next(); word != "--"; word = arguments.Next()) {
        if (!TakeOption(word, arguments, options)) {
            return std::nullopt;
        }
    }
    options.first = arguments.Command();
    options.second = arguments.Command();
    if (options.rounds < 1 || options.first.empty() || options.second.empty()) {
        return std::nullopt;
    }
    return options;
}

} // namespace benchmarks

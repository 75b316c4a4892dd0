// Compares two whole commands: runs them in turn and prints the medians of their ratios.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>

#include "MeasuredCommand.h"
#include "PageCache.h"

namespace benchmarks {
namespace {

struct Pair {
    Measurement first;
    Measurement second;
};

bool Complain(std::string const& what) {
    std::fprintf(stderr, "paired: %s\n", what.c_str());
    return false;
}

bool ComplainOfFile(char const* what, std::string const& path) {
    return Complain(std::string(what) + " '" + path + "': " + std::strerror(errno));
}

// Brings the files into the state in which every run finds them.
bool Prepare(PairedOptions const& options) {
    for (std::string const& path : options.removed) {
        if (unlink(path.c_str()) != 0 && errno != ENOENT) {
            return ComplainOfFile("cannot remove", path);
        }
    }
    for (std::string const& path : options.evicted) {
        if (!EvictFromPageCache(path)) {
            return ComplainOfFile("cannot drop from the page cache", path);
        }
    }
    for (std::string const& path : options.warmed) {
        if (!ReadIntoPageCache(path)) {
            return ComplainOfFile("cannot read", path);
        }
    }
    return true;
}

std::optional<Measurement> MeasureLoudly(Words const& command) {
    auto const measurement = Measure(command);
    if (!measurement) {
        Complain("'" + command.front() + "' failed");
    }
    return measurement;
}

bool HaveSameContent(std::string const& one, std::string const& other) {
    constexpr std::size_t pieceSize = 65536;
    std::ifstream first(one, std::ios::binary);
    std::ifstream second(other, std::ios::binary);
    std::string firstPiece(pieceSize, '\0');
    std::string secondPiece(pieceSize, '\0');
    if (!first || !second) {
        return false;
    }
    do {
        first.read(firstPiece.data(), pieceSize);
        second.read(secondPiece.data(), pieceSize);
        if (first.gcount() != second.gcount() ||
            std::memcmp(firstPiece.data(), secondPiece.data(),
                        static_cast<std::size_t>(first.gcount())) != 0) {
            return false;
        }
    } while (first && second);
    return true;
}

// Runs both commands once, without the clock, and looks at what they wrote.
bool GiveTheSameAnswer(PairedOptions const& options) {
    if (!Prepare(options) || !MeasureLoudly(options.first) || !MeasureLoudly(options.second)) {
        return false;
    }
    return !options.same || HaveSameContent(options.same->first, options.same->second) ||
           Complain("the commands do not give the same answer");
}

// Every second round begins with the other command, so that neither always runs first.
std::optional<Pair> RunRound(int round, PairedOptions const& options) {
    bool const swapped = round % 2 != 0;
    auto const measure = [&](Words const& command) {
        return Prepare(options) ? MeasureLoudly(command) : std::nullopt;
    };
    auto const one = measure(swapped ? options.second : options.first);
    auto const other = one ? measure(swapped ? options.first : options.second) : std::nullopt;
    if (!other) {
        return std::nullopt;
    }
    return swapped ? Pair{*other, *one} : Pair{*one, *other};
}

using Figure = std::function<double(Pair const&)>;

// The value below which a part of the pairs' figures lies.
double Quantile(std::vector<Pair> const& pairs, double part, Figure const& figure) {
    std::vector<double> values(pairs.size());
    std::ranges::transform(pairs, values.begin(), figure);
    std::ranges::sort(values);
    double const place = part * static_cast<double>(values.size() - 1);
    auto const below = static_cast<std::size_t>(place);
    auto const above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], place - std::floor(place));
}

double Median(std::vector<Pair> const& pairs, Figure const& figure) {
    return Quantile(pairs, 0.5, figure);
}

// A row of the table: a figure of each pair, against its target, and what it is made of.
struct Row {
    char const* measure;
    double target; // 0 for none
    Figure figure;
    Figure first;
    Figure second;
};

void PrintHead() {
    std::puts("| case                     | measure       | target | reached | quartiles       |"
              "  command |    other |     |");
    std::puts("|--------------------------|---------------|-------:|--------:|----------------:|"
              "---------:|---------:|-----|");
}

void PrintRow(std::string const& title, Row const& row, std::vector<Pair> const& pairs) {
    double const reached = Median(pairs, row.figure);
    std::string target(6, ' ');
    char const* verdict = "";
    if (row.target > 0) {
        std::snprintf(target.data(), target.size() + 1, "%6.2f", row.target);
        verdict = reached <= row.target ? "met" : "NOT";
    }
    std::printf("| %-24s | %-13s | %s | %7.3f | %6.3f - %6.3f | %8.2f | %8.2f | %-3s |\n",
                title.c_str(), row.measure, target.c_str(), reached,
                Quantile(pairs, 0.25, row.figure), Quantile(pairs, 0.75, row.figure),
                Median(pairs, row.first), Median(pairs, row.second), verdict);
}

void PrintRows(PairedOptions const& options, std::vector<Pair> const& pairs) {
    Figure const wall = [](Pair const& pair) { return pair.first.wallMs; };
    Figure const otherWall = [](Pair const& pair) { return pair.second.wallMs; };
    Figure const processor = [](Pair const& pair) { return pair.first.processorMs; };
    Figure const otherProcessor = [](Pair const& pair) { return pair.second.processorMs; };
    Figure const peak = [](Pair const& pair) { return pair.first.peakMiB; };
    Figure const otherPeak = [](Pair const& pair) { return pair.second.peakMiB; };
    auto const ratio = [](Figure const& one, Figure const& other) {
        return [=](Pair const& pair) { return one(pair) / other(pair); };
    };
    Row const rows[] = {
        {"wall time, ms", options.timeTarget, ratio(wall, otherWall), wall, otherWall},
        {"processor, ms", 0, ratio(processor, otherProcessor), processor, otherProcessor},
        {"peak, MiB", options.memoryTargetMiB, peak, peak, otherPeak},
    };
    for (Row const& row : rows) {
        PrintRow(options.title, row, pairs);
    }
    std::fflush(stdout);
}

int Compare(PairedOptions const& options) {
    if (!GiveTheSameAnswer(options)) {
        return EXIT_FAILURE;
    }
    std::vector<Pair> pairs;
    for (int round = 0; round < options.rounds; ++round) {
        auto const pair = RunRound(round, options);
        if (!pair) {
            return EXIT_FAILURE;
        }
        pairs.push_back(*pair);
    }
    PrintRows(options, pairs);
    return EXIT_SUCCESS;
}

} // namespace
} // namespace benchmarks

int main(int argc, char** argv) {
    constexpr int misuse = 2;
    if (argc == 1) {
        benchmarks::PrintHead();
        return EXIT_SUCCESS;
    }
    auto const options = benchmarks::ParsePairedOptions(argc, argv);
    if (!options) {
        std::fputs(benchmarks::pairedUsage, stderr);
        return misuse;
    }
    return benchmarks::Compare(*options);
}

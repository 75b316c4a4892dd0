// d2b export: copies what was recorded out of a pool into one playable file, with proof of what it
// holds.
#include <CLI/CLI.hpp>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "NewFile.h"
#include "d2b/Commands.h"
#include "d2b/EvidenceOptions.h"
#include "d2b/OutputFile.h"
#include "evidence/TimeArgument.h"
#include "evidence/exporting/ExportRequest.h"
#include "evidence/exporting/ExportSummary.h"
#include "evidence/exporting/FileSet.h"
#include "pool/PoolLayout.h"

namespace workstation::d2b {
namespace {

namespace exporting = evidence::exporting;

using evidence::Progress;

struct ExportOptions {
    PoolOptions pool;
    std::string reid;
    unsigned int stream = 0;
    std::string from;
    std::string to;
    std::string slots;
    std::string output;
    bool exact = false;
    bool force = false;
    bool json = false;
    ProgressOptions progress;
};

constexpr char standardOutput[] = "-";
constexpr int largestSlot = pool::poolMaxFileCount;

std::int64_t TimeOf(std::string const& option, std::string const& text) {
    auto const time = evidence::ParseTime(text, std::time(nullptr));
    if (!time) {
        throw CLI::ValidationError(option, "'" + text + "' is not a time");
    }
    return *time;
}

// Reads a number that makes up all of the text. Null for anything else.
std::optional<int> NumberOf(std::string_view text) {
    int number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number)
                                                                    : std::nullopt;
}

// "3,5-7" are 3, 5, 6 and 7.
std::vector<int> SlotsOf(std::string const& list) {
    std::vector<int> slots;
    for (std::size_t begin = 0; begin <= list.size();) {
        std::size_t const end = std::min(list.find(',', begin), list.size());
        std::string_view const item = std::string_view(list).substr(begin, end - begin);
        begin = end + 1;
        auto const dash = item.find('-');
        auto const first = NumberOf(item.substr(0, dash));
        auto const last = dash == std::string_view::npos ? first : NumberOf(item.substr(dash + 1));
        if (!first || !last || *first < 1 || *last < *first || *last > largestSlot) {
            throw CLI::ValidationError("--slots", "'" + list + "' is not a list of slots");
        }
        for (int slot = *first; slot <= *last; ++slot) {
            slots.push_back(slot);
        }
    }
    return slots;
}

exporting::ExportRequest RequestOf(ExportOptions const& options) {
    exporting::ExportRequest request;
    bool const hasInterval = !options.from.empty() || !options.to.empty();
    int const ways =
        (options.reid.empty() ? 0 : 1) + (hasInterval ? 1 : 0) + (options.slots.empty() ? 0 : 1);
    if (ways != 1 || (hasInterval && (options.from.empty() || options.to.empty()))) {
        throw CLI::ValidationError("export",
                                   "needs REID, or --stream, --from and --to, or --slots");
    }
    if (hasInterval != (options.stream != 0) && (hasInterval || !options.slots.empty())) {
        throw CLI::ValidationError("--stream", "goes with --from and --to, or with REID");
    }
    request.startAt = options.exact ? exporting::StartAt::tick : exporting::StartAt::decoderStart;
    if (!options.reid.empty()) {
        request.reid = options.reid;
    }
    if (options.stream != 0) {
        request.stream = options.stream;
    }
    if (hasInterval) {
        request.from = TimeOf("--from", options.from);
        request.to = TimeOf("--to", options.to);
        if (*request.to < *request.from) {
            throw CLI::ValidationError("--to", "is before --from");
        }
    }
    if (!options.slots.empty()) {
        request.slots = SlotsOf(options.slots);
    }
    return request;
}

bool IsDirectory(std::string const& path) {
    std::error_code ignored;
    return path.ends_with('/') || std::filesystem::is_directory(path, ignored);
}

// The path of the file with a stream of an event or a recording.
std::string PathIn(std::string const& directory, exporting::Asked const& asked) {
    std::string name = *asked.reid + "-" + std::to_string(*asked.stream) + ".ts";
    std::ranges::replace(name, ':', '-');
    return directory + (directory.ends_with('/') ? "" : "/") + name;
}

// Findings that are only counted.
class NoList : public exporting::Findings {
public:
    void Add(exporting::ExportedFault const& /*fault*/) override {}
    void AddGap(evidence::PlacedTick const& /*before*/,
                evidence::PlacedTick const& /*after*/) override {}
};

// One file of an export on its way.
struct OpenExport {
    OpenExport(exporting::PoolSlots& slots, exporting::PlannedExport const& planned,
               std::string path)
        : asked(planned.asked)
        , pieces(slots, planned.pieces)
        , shownPath(std::move(path)) {}

    std::string Summary() const {
        return exporting::DescribeExport(shownPath, asked, pieces.Pieces(), copied);
    }
    bool IsComplete() const { return exporting::IsComplete(asked, copied); }

    exporting::Asked asked;
    exporting::JoinedPieces pieces;
    std::string shownPath;
    std::optional<exporting::FileSet> files; // null for standard output
    exporting::CopiedPieces copied;
};

void PrintManifest(UnnamedFile const& manifest) {
    std::array<char, 65536> block{};
    for (off_t offset = 0;;) {
        ssize_t const got = pread(manifest.Descriptor(), block.data(), block.size(), offset);
        if (got < 0) {
            throw SystemFailure("cannot read '" + manifest.Path() + "'");
        }
        if (got == 0) {
            return;
        }
        std::cout.write(block.data(), got);
        offset += got;
    }
}

// One manifest, or a list of them for a directory.
void PrintManifests(std::list<OpenExport> const& exports, bool isDirectory) {
    std::cout << (isDirectory ? "[" : "");
    bool isFirst = true;
    for (OpenExport const& file : exports) {
        std::cout << (isFirst ? "" : ",");
        PrintManifest(file.files->ManifestFile());
        isFirst = false;
    }
    std::cout << (isDirectory ? "]\n" : "") << std::flush;
    if (!std::cout) {
        throw Failure(EIO, "the files are complete, but the manifest cannot be printed");
    }
}

class Exporter {
public:
    Exporter(exporting::PoolSlots& slots, ExportOptions const& options)
        : slots_(slots)
        , options_(options)
        , isToOutput_(options.output == standardOutput)
        , isToDirectory_(!isToOutput_ && IsDirectory(options.output)) {}

    // Returns the exit status.
    int Run(std::vector<exporting::PlannedExport> const& planned);

private:
    void Open(std::vector<exporting::PlannedExport> const& planned);
    void Copy(OpenExport& file, std::function<void(std::uint64_t)> const& progress);

    exporting::PoolSlots& slots_;
    ExportOptions const& options_;
    bool isToOutput_;
    bool isToDirectory_;
    std::list<OpenExport> exports_;
};

void Exporter::Open(std::vector<exporting::PlannedExport> const& planned) {
    if (planned.size() > 1 && !isToDirectory_) {
        throw CLI::ValidationError("-o", "'" + options_.reid +
                                             "' has several streams: choose one with --stream, or "
                                             "name a directory with / at the end");
    }
    if (isToDirectory_ && !planned.front().asked.reid) {
        throw CLI::ValidationError("-o", "a directory takes the streams of a REID only");
    }
    for (exporting::PlannedExport const& plan : planned) {
        std::string const path =
            isToDirectory_ ? PathIn(options_.output, plan.asked) : options_.output;
        auto& file = exports_.emplace_back(slots_, plan, isToOutput_ ? "standard output" : path);
        if (!isToOutput_) {
            RefuseOwnFile(path, options_.pool);
            file.files.emplace(path, options_.force);
        }
    }
}

void Exporter::Copy(OpenExport& file, std::function<void(std::uint64_t)> const& progress) {
    NoList noList;
    auto const target = file.files ? file.files->Target()
                                   : exporting::CopyTarget{STDOUT_FILENO, file.shownPath, false};
    exporting::Findings& findings = file.files ? file.files->Draft() : noList;
    file.copied = exporting::PieceCopy(slots_, file.pieces, target, findings, progress).Run();
    if (file.files) {
        file.files->Complete(file.asked, file.pieces, file.copied, progress);
    }
}

int Exporter::Run(std::vector<exporting::PlannedExport> const& planned) {
    Open(planned);
    std::uint64_t total = 0;
    for (OpenExport const& file : exports_) {
        total += file.pieces.Length() * (file.files ? 2 : 1); // copied and read again
    }
    {
        Progress progress(total, WhenToShow(options_.progress));
        for (OpenExport& file : exports_) {
            Copy(file, [&](std::uint64_t bytes) { progress.Add(bytes); });
        }
    }
    for (OpenExport& file : exports_) {
        if (file.files) {
            file.files->Publish();
        }
    }
    int status = 0;
    for (OpenExport& file : exports_) {
        if (file.files) {
            file.files->Keep();
        }
        status = file.IsComplete() ? status : damageFound;
        if (!options_.json) {
            (isToOutput_ ? std::cerr : std::cout) << file.Summary() << std::endl;
        }
    }
    if (options_.json) {
        PrintManifests(exports_, isToDirectory_);
    }
    return status;
}

// Returns the exit status.
int Export(ExportOptions const& options) {
    auto const request = RequestOf(options);
    if (options.json && options.output == standardOutput) {
        throw CLI::ValidationError("--json", "standard output is taken by the stream");
    }
    if (request.slots.empty() && !HasDatabase(options.pool)) {
        throw Failure(ENOENT, "without a database it is not known which slots hold which stream: "
                              "name one with --db, or slots with --slots");
    }
    auto const pool = OpenPool(options.pool);
    exporting::PoolSlots slots(pool);
    auto const catalogue =
        request.slots.empty() ? ReadCatalogue(options.pool) : evidence::Catalogue();
    return Exporter(slots, options).Run(exporting::PlanExports(slots, catalogue, request));
}

} // namespace

void AddExportCommand(CLI::App& tool) {
    constexpr unsigned int streams = 4;

    auto const options = std::make_shared<ExportOptions>();
    auto* const command = tool.add_subcommand(
        "export", "Copies what was recorded into a file, with a manifest of what it holds.");
    command->add_option("REID", options->reid, "An event or a recording");
    command
        ->add_option("--stream", options->stream,
                     "With --from and --to; or the one stream of a REID that is wanted")
        ->check(CLI::Range(1U, streams))
        ->option_text("N, 1 to " + std::to_string(streams));
    command->add_option("--from", options->from, "The first time that is wanted")
        ->type_name("TIME");
    command->add_option("--to", options->to, "The last time that is wanted")->type_name("TIME");
    command->add_option("--slots", options->slots, "Whole slots in this order, such as 3,5-7")
        ->type_name("LIST");
    command
        ->add_option("-o", options->output,
                     "The file; a directory, with / at the end, takes a file for each stream of a "
                     "REID; - is standard output, without a manifest")
        ->required()
        ->option_text("OUT.ts (required)");
    command->add_flag("--exact", options->exact,
                      "Begins at the first tick, not where a decoder can start before it");
    command->add_flag("--force", options->force, "Replaces files that are there");
    AddPoolOption(*command, options->pool);
    AddDatabaseOption(*command, options->pool);
    AddJsonOption(*command, options->json);
    AddProgressOptions(*command, options->progress);
    command->callback([options] {
        if (int const status = Export(*options)) {
            throw CLI::RuntimeError(status);
        }
    });
}

} // namespace workstation::d2b

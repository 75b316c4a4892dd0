// What stands beside an exported file: what was asked for, what it holds, and what is missing.
#include "evidence/exporting/Manifest.h"

#include <unistd.h>

#include <array>
#include <cerrno>

#include "Failure.h"
#include "Version.h"
#include "evidence/Json.h"

namespace workstation::evidence::exporting {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t blockSize = 65536;

std::span<unsigned char const> BytesOf(std::string const& text) {
    return {reinterpret_cast<unsigned char const*>(text.data()), text.size()};
}

Json ToJson(Asked const& asked) {
    return {{"reid", OrNull(asked.reid)},
            {"stream", OrNull(asked.stream)},
            {"from", OrNull(asked.from)},
            {"to", OrNull(asked.to)}};
}

Json HeldToJson(SlotSummary const& summary) {
    return {{"from", OrNull(summary.from)},
            {"to", OrNull(summary.to)},
            {"first_tick", OrNull(summary.firstTick)},
            {"last_tick", OrNull(summary.lastTick)},
            {"ticks", summary.ticks}};
}

// A name that is not UTF-8 would not come back from JSON as it was.
std::string OutputToJson(std::string const& name, CopiedPieces const& copied) {
    std::string text =
        Json{{"name", name}, {"bytes", copied.summary.bytes}, {"sha256", copied.wholeHash}}.dump(
            -1, ' ', false, Json::error_handler_t::replace);
    if (Json::parse(text)["name"] != name) {
        throw Failure(EILSEQ, "the name '" + name + "' is not UTF-8 and cannot be in a manifest");
    }
    return text;
}

} // namespace

bool IsComplete(Asked const& asked, CopiedPieces const& copied) {
    SlotSummary const& held = copied.summary;
    bool const beginsInTime = !asked.from || (held.from && *held.from <= *asked.from + 1);
    bool const endsInTime = !asked.to || (held.to && *held.to >= *asked.to - 1);
    return copied.gaps == 0 && held.faults == 0 && beginsInTime && endsInTime;
}

void ManifestDraft::List::Add(std::string const& element) {
    text_ += isEmpty_ ? "\n" : ",\n";
    text_ += element;
    isEmpty_ = false;
    if (text_.size() >= blockSize) {
        WriteOut();
    }
}

void ManifestDraft::List::WriteOut() {
    file_.Write(BytesOf(text_));
    text_.clear();
}

void ManifestDraft::List::AppendTo(UnnamedFile& file) {
    WriteOut();
    std::array<unsigned char, blockSize> block{};
    for (off_t offset = 0;;) {
        ssize_t const got = pread(file_.Descriptor(), block.data(), block.size(), offset);
        if (got < 0) {
            throw SystemFailure("cannot read what was written for '" + file_.Path() + "'");
        }
        if (got == 0) {
            return;
        }
        file.Write(std::span(block).first(static_cast<std::size_t>(got)));
        offset += got;
    }
}

ManifestDraft::ManifestDraft(std::string const& path)
    : file_(path)
    , gaps_(path)
    , faults_(path) {}

void ManifestDraft::Add(ExportedFault const& fault) {
    Json element = {{"slot", fault.slot}};
    element.update(evidence::ToJson(fault.fault));
    element["output_offset"] = fault.outputOffset;
    faults_.Add(element.dump());
}

void ManifestDraft::AddGap(PlacedTick const& before, PlacedTick const& after) {
    Json const element = {{"after_tick", before.tick},
                          {"before_tick", after.tick},
                          {"from", before.time},
                          {"to", after.time}};
    gaps_.Add(element.dump());
}

UnnamedFile& ManifestDraft::Complete(std::string const& name, Asked const& asked,
                                     std::vector<Piece> const& pieces, CopiedPieces const& copied) {
    std::string text = std::string(manifestBegin) + "\"version\":\"" + version +
                       "\",\n\"asked\":" + ToJson(asked).dump() +
                       ",\n\"held\":" + HeldToJson(copied.summary).dump() +
                       ",\n\"output\":" + OutputToJson(name, copied) + ",\n\"pieces\":[";
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        Json const piece = {{"slot", pieces[i].slot},
                            {"offset", pieces[i].offset},
                            {"bytes", pieces[i].bytes},
                            {"sha256", copied.pieceHashes[i]}};
        text += (i == 0 ? "\n" : ",\n") + piece.dump();
    }
    file_.Write(BytesOf(text + "],\n\"gaps\":["));
    gaps_.AppendTo(file_);
    file_.Write(BytesOf("],\n\"faults\":["));
    faults_.AppendTo(file_);
    file_.Write(BytesOf(std::string("],\n\"complete\":") +
                        (IsComplete(asked, copied) ? "true" : "false") + "}\n"));
    file_.Flush();
    return file_;
}

} // namespace workstation::evidence::exporting

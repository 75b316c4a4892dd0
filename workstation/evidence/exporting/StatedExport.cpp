// What a manifest states about an exported file, as far as it can be verified.
#include "evidence/exporting/StatedExport.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <string_view>

#include "Failure.h"
#include "evidence/Json.h"
#include "pool/PoolLayout.h"

namespace workstation::evidence::exporting {
namespace {

using Json = nlohmann::json;

constexpr std::int64_t earliest = INT32_MIN;
constexpr std::int64_t latest = INT32_MAX;
constexpr std::int64_t largestTick = UINT32_MAX;
constexpr std::int64_t largestPid = 0x1FFF;

std::string NotAManifest(std::string const& path) {
    return "'" + path + "' is not a manifest: ";
}

// An object of a manifest. `where` names it in messages.
class Checked {
public:
    // Throws Failure unless the value is an object with exactly these members.
    Checked(std::string const& path, Json const& value, std::string where,
            std::initializer_list<std::string_view> members)
        : path_(path)
        , value_(value)
        , where_(std::move(where)) {
        Require(value.is_object(), "is not an object");
        for (std::string_view const member : members) {
            Require(value.contains(member), "has no " + std::string(member));
        }
        Require(value.size() == members.size(), "has a member too many");
    }

    void Require(bool condition, std::string const& fault) const {
        if (!condition) {
            throw Failure(EINVAL, NotAManifest(path_) + where_ + " " + fault);
        }
    }

    Json const& Value(char const* member) const { return value_[member]; }

    std::int64_t Integer(char const* member, std::int64_t least, std::int64_t most) const {
        Json const& value = value_[member];
        // Above what has 63 bits a number is unsigned.
        bool const isRight = value.is_number_integer() &&
                             (!value.is_number_unsigned() ||
                              value.get<std::uint64_t>() <= std::uint64_t{INT64_MAX}) &&
                             value.get<std::int64_t>() >= least &&
                             value.get<std::int64_t>() <= most;
        Require(isRight, std::string("has no right ") + member);
        return value.get<std::int64_t>();
    }

    // Returns whether there is a number in place of null.
    bool IntegerOrNull(char const* member, std::int64_t least, std::int64_t most) const {
        if (value_[member].is_null()) {
            return false;
        }
        Integer(member, least, most);
        return true;
    }

    std::string Text(char const* member) const {
        Require(value_[member].is_string() && !value_[member].get_ref<std::string const&>().empty(),
                std::string("has no right ") + member);
        return value_[member].get<std::string>();
    }

    std::string Hash(char const* member) const {
        std::string hash = Text(member);
        Require(hash.size() == 64 &&
                    hash.find_first_not_of("0123456789abcdef") == std::string::npos,
                std::string("has no right ") + member);
        return hash;
    }

private:
    std::string const& path_;
    Json const& value_;
    std::string where_;
};

void CheckAsked(std::string const& path, Json const& value) {
    Checked const asked(path, value, "asked", {"reid", "stream", "from", "to"});
    if (!asked.Value("reid").is_null()) {
        asked.Text("reid");
    }
    asked.IntegerOrNull("stream", 1, 4);
    asked.IntegerOrNull("from", INT64_MIN, INT64_MAX);
    asked.IntegerOrNull("to", INT64_MIN, INT64_MAX);
}

void CheckHeld(std::string const& path, Json const& value) {
    Checked const held(path, value, "held", {"from", "to", "first_tick", "last_tick", "ticks"});
    bool const hasTicks = held.Integer("ticks", 0, INT64_MAX) > 0;
    for (char const* const time : {"from", "to"}) {
        held.Require(held.IntegerOrNull(time, earliest, latest) == hasTicks,
                     std::string("has no right ") + time);
    }
    for (char const* const tick : {"first_tick", "last_tick"}) {
        held.Require(held.IntegerOrNull(tick, 0, largestTick) == hasTicks,
                     std::string("has no right ") + tick);
    }
}

void CheckGap(std::string const& path, Json const& value) {
    Checked const gap(path, value, "a gap", {"after_tick", "before_tick", "from", "to"});
    gap.Integer("after_tick", 0, largestTick);
    gap.Integer("before_tick", 0, largestTick);
    gap.Integer("from", earliest, latest);
    gap.Integer("to", earliest, latest);
}

void CheckFault(std::string const& path, Json const& value) {
    Checked const fault(
        path, value, "a fault",
        {"slot", "kind", "offset", "bytes", "pid", "missing", "time", "output_offset"});
    constexpr std::array kinds = {FaultKind::sync,       FaultKind::continuity,
                                  FaultKind::tick,       FaultKind::zeros,
                                  FaultKind::unreadable, FaultKind::transportError};
    std::string const kind = fault.Text("kind");
    fault.Require(std::ranges::any_of(kinds, [&](FaultKind known) { return kind == Name(known); }),
                  "has no right kind");
    fault.Integer("slot", 1, pool::poolMaxFileCount);
    fault.Integer("offset", 0, pool::poolSlotSize - 1);
    fault.Integer("bytes", 1, pool::poolSlotSize);
    fault.IntegerOrNull("pid", 0, largestPid);
    fault.IntegerOrNull("missing", 0, largestTick);
    fault.IntegerOrNull("time", earliest, latest);
    fault.Integer("output_offset", 0, INT64_MAX);
}

// Checks the elements of the lists that may have millions of them, and counts them without keeping
// them.
class ListCheck {
public:
    explicit ListCheck(std::string const& path)
        : path_(path) {}

    // To be called by the parser. Returns whether the value is kept.
    bool Take(int depth, Json::parse_event_t event, Json const& value) {
        if (event == Json::parse_event_t::key && depth == 1) {
            list_ = value.get<std::string>();
        }
        bool const isElement = depth == 2 && (event == Json::parse_event_t::object_end ||
                                              event == Json::parse_event_t::array_end ||
                                              event == Json::parse_event_t::value);
        if (!isElement || (list_ != "gaps" && list_ != "faults")) {
            return true;
        }
        if (list_ == "gaps") {
            CheckGap(path_, value);
        } else {
            CheckFault(path_, value);
        }
        ++elements_;
        return false;
    }

    std::uint64_t Elements() const { return elements_; }

private:
    std::string const& path_;
    std::string list_; // the member of the manifest that is being read
    std::uint64_t elements_ = 0;
};

void ReadPieces(std::string const& path, Checked const& manifest, StatedExport& stated) {
    Json const& pieces = manifest.Value("pieces");
    manifest.Require(pieces.is_array() && !pieces.empty(), "has no right pieces");
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        Checked const piece(path, pieces[i], "piece " + std::to_string(i + 1),
                            {"slot", "offset", "bytes", "sha256"});
        std::int64_t const offset = piece.Integer("offset", 0, pool::poolSlotSize - 1);
        std::int64_t const size = piece.Integer("bytes", 1, pool::poolSlotSize - offset);
        stated.pieces.push_back({static_cast<int>(piece.Integer("slot", 1, pool::poolMaxFileCount)),
                                 static_cast<std::uint64_t>(offset),
                                 static_cast<std::uint64_t>(size)});
        stated.pieceHashes.push_back(piece.Hash("sha256"));
        bytes += static_cast<std::uint64_t>(size);
    }
    manifest.Require(bytes == stated.bytes, "has pieces of " + std::to_string(bytes) +
                                                " bytes and an output of " +
                                                std::to_string(stated.bytes));
}

StatedExport Parse(std::string const& path, std::ifstream& file) {
    ListCheck lists(path);
    auto const take = [&](int depth, Json::parse_event_t event, Json const& value) {
        return lists.Take(depth, event, value);
    };
    Json const document = Json::parse(file, take, false);
    if (document.is_discarded()) {
        throw Failure(EINVAL, NotAManifest(path) + "it is not JSON");
    }
    Checked const manifest(
        path, document, "it",
        {"program", "version", "asked", "held", "output", "pieces", "gaps", "faults", "complete"});
    manifest.Require(manifest.Text("program") == "d2b", "is from another program");
    manifest.Text("version");
    CheckAsked(path, manifest.Value("asked"));
    CheckHeld(path, manifest.Value("held"));
    StatedExport stated;
    Checked const output(path, manifest.Value("output"), "output", {"name", "bytes", "sha256"});
    stated.name = output.Text("name");
    output.Require(stated.name.find_first_of(std::string("/\0", 2)) == std::string::npos &&
                       stated.name != "." && stated.name != "..",
                   "has a name that is not one of a file");
    stated.bytes = static_cast<std::uint64_t>(output.Integer("bytes", 1, INT64_MAX));
    stated.sha256 = output.Hash("sha256");
    ReadPieces(path, manifest, stated);
    for (char const* const list : {"gaps", "faults"}) {
        manifest.Require(manifest.Value(list).is_array(), std::string("has no right ") + list);
    }
    Json const& complete = manifest.Value("complete");
    manifest.Require(complete.is_boolean(), "has no right complete");
    manifest.Require(!complete.get<bool>() || lists.Elements() == 0,
                     "is complete and has gaps or faults");
    return stated;
}

} // namespace

StatedExport ReadManifest(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file || file.peek() == std::ifstream::traits_type::eof()) {
        throw Failure(EIO, "cannot read '" + path + "'");
    }
    return Parse(path, file);
}

} // namespace workstation::evidence::exporting

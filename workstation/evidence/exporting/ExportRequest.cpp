// What can be asked of an export, and which files come of it.
#include "evidence/exporting/ExportRequest.h"

#include <algorithm>
#include <cerrno>

#include "Failure.h"
#include "LocalTime.h"

namespace workstation::evidence::exporting {
namespace {

constexpr unsigned int streamCount = 4;

std::string DescribeInterval(Asked const& asked) {
    std::string const from = " from " + LocalTime(*asked.from);
    return asked.to ? from + " to " + LocalTime(*asked.to) : from + " on";
}

// The stream and the interval are known. `held`: the slots that may be used; null: all of the
// stream.
PlannedExport PlanStream(PoolSlots& slots, Catalogue const& catalogue, Asked const& asked,
                         std::vector<int> const* held, StartAt startAt) {
    std::vector<store::RecordedFile> chain;
    std::vector<bool> isWanted;
    for (store::RecordedFile const& file : catalogue.Files()) {
        if (file.stream == *asked.stream) {
            chain.push_back(file);
            isWanted.push_back(held == nullptr ||
                               std::ranges::find(*held, file.fileNumber) != held->end());
        }
    }
    PlannedExport planned{asked,
                          PlanInterval(slots, chain, isWanted, {*asked.from, asked.to}, startAt)};
    if (planned.pieces.empty()) {
        throw Failure(ENOENT, "the pool has nothing of stream " + std::to_string(*asked.stream) +
                                  DescribeInterval(asked));
    }
    return planned;
}

std::vector<PlannedExport> PlanEvent(PoolSlots& slots, Catalogue const& catalogue,
                                     HeldEvent const& held, ExportRequest const& request) {
    std::vector<PlannedExport> exports;
    for (unsigned int stream = 1; stream <= streamCount; ++stream) {
        bool const isInEvent = (held.event.streams >> (stream - 1) & 1U) != 0;
        if (isInEvent && request.stream.value_or(stream) == stream) {
            Asked const asked{held.event.reid, stream, held.event.startTime, held.event.stopTime};
            exports.push_back(PlanStream(slots, catalogue, asked, &held.slots, request.startAt));
        }
    }
    return exports;
}

std::vector<PlannedExport> PlanRecording(PoolSlots& slots, Catalogue const& catalogue,
                                         store::RecordingRow const& row,
                                         ExportRequest const& request) {
    if (request.stream.value_or(row.stream) != row.stream) {
        return {};
    }
    Asked const asked{row.reid, row.stream, row.startTime, row.stopTime};
    return {PlanStream(slots, catalogue, asked, nullptr, request.startAt)};
}

std::vector<PlannedExport> PlanReid(PoolSlots& slots, Catalogue const& catalogue,
                                    ExportRequest const& request) {
    HeldEvent const* const event = catalogue.FindEvent(*request.reid);
    store::RecordingRow const* const recording = catalogue.FindRecording(*request.reid);
    if (event == nullptr && recording == nullptr) {
        throw Failure(ENOENT, "no event or recording has the identifier '" + *request.reid + "'");
    }
    auto exports = event != nullptr ? PlanEvent(slots, catalogue, *event, request)
                                    : PlanRecording(slots, catalogue, *recording, request);
    if (exports.empty()) {
        throw Failure(ENOENT, "'" + *request.reid + "' has no stream " +
                                  std::to_string(request.stream.value_or(0)));
    }
    return exports;
}

} // namespace

std::vector<PlannedExport> PlanExports(PoolSlots& slots, Catalogue const& catalogue,
                                       ExportRequest const& request) {
    if (request.reid) {
        return PlanReid(slots, catalogue, request);
    }
    if (request.stream) {
        Asked const asked{{}, request.stream, request.from, request.to};
        return {PlanStream(slots, catalogue, asked, nullptr, request.startAt)};
    }
    auto pieces = PlanSlots(slots, request.slots);
    if (pieces.empty()) {
        throw Failure(ENOENT, "the slots hold nothing");
    }
    return {{{}, std::move(pieces)}};
}

} // namespace workstation::evidence::exporting

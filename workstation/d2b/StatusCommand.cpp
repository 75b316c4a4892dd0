// d2b status: shows what the running service does.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Failure.h"
#include "api/StatusRequest.h"
#include "d2b/Commands.h"
#include "d2b/EvidenceOptions.h"
#include "evidence/Json.h"
#include "status/StatusText.h"

namespace workstation::d2b {
namespace {

using status::Fact;
using status::ServiceStatus;
using status::StreamStatus;

constexpr int degraded = 3;
constexpr int noService = 4;

// While the object lives, a signal that would end the program waits: the endpoint's socket file is
// removed first.
class HeldSignals {
public:
    HeldSignals() {
        sigset_t held;
        sigemptyset(&held);
        for (int const signal : {SIGHUP, SIGINT, SIGTERM}) {
            sigaddset(&held, signal);
        }
        pthread_sigmask(SIG_BLOCK, &held, &former_);
    }
    ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }

    HeldSignals(HeldSignals const&) = delete;
    HeldSignals& operator=(HeldSignals const&) = delete;

private:
    sigset_t former_{};
};

ServiceStatus Ask() {
    HeldSignals const held;
    return api::AskForStatus("d2b_" + std::to_string(getpid()));
}

nlohmann::ordered_json ToJson(StreamStatus const& stream) {
    return {{"stream", stream.stream},
            {"source", stream.source},
            {"state", Name(stream.state)},
            {"last_packet", evidence::OrNull(stream.lastPacket)},
            {"bits_per_second", stream.bitsPerSecond},
            {"restarts", stream.restarts},
            {"dropped_bytes", stream.droppedBytes},
            {"slot", evidence::OrNull(stream.slot)}};
}

void PrintJson(ServiceStatus const& status) {
    auto streams = nlohmann::ordered_json::array();
    for (StreamStatus const& stream : status.streams) {
        streams.push_back(ToJson(stream));
    }
    nlohmann::ordered_json const document = {
        {"service", {{"pid", status.process}, {"up_seconds", status.upSeconds}}},
        {"streams", streams},
        {"storage",
         {{"total_kib", status.storage.totalKiB},
          {"buffer_kib", status.storage.bufferKiB},
          {"free_kib", status.storage.freeKiB}}},
        {"subscribers", status.subscribers}};
    // The path of a source may have any bytes.
    constexpr auto replaceInvalid = nlohmann::ordered_json::error_handler_t::replace;
    std::cout << document.dump(4, ' ', false, replaceInvalid) << std::endl;
}

// A table with a line a stream, below the names of the facts.
void PrintTable(std::vector<StreamStatus> const& streams) {
    std::vector<std::vector<Fact>> rows;
    std::vector<std::size_t> widths;
    for (StreamStatus const& stream : streams) {
        rows.push_back(FactsOf(stream));
        widths.resize(rows.back().size());
        for (std::size_t i = 0; i < widths.size(); ++i) {
            Fact const& fact = rows.back()[i];
            widths[i] = std::max({widths[i], fact.name.size(), fact.value.size()});
        }
    }
    auto const print = [&widths](std::vector<Fact> const& row, std::string Fact::*cell) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            std::cout << (i == 0 ? "" : "  ") << (row[i].isNumber ? std::right : std::left)
                      << std::setw(static_cast<int>(widths[i])) << row[i].*cell;
        }
        std::cout << "\n";
    };
    print(rows.front(), &Fact::name);
    for (auto const& row : rows) {
        print(row, &Fact::value);
    }
}

void PrintText(ServiceStatus const& status) {
    if (status.streams.empty()) {
        std::cout << "no stream is recorded\n";
    } else {
        PrintTable(status.streams);
    }
    std::cout << "storage: " << Describe(status.storage) << "\n"
              << "subscribers: " << status.subscribers << "\n"
              << "service: " << DescribeProcess(status) << "\n";
    for (std::string const& line : DescribeDegradation(status)) {
        std::cout << line << "\n";
    }
    std::cout << std::flush;
}

// Returns the exit status.
int ShowStatus(bool isJson) {
    ServiceStatus status;
    try {
        status = Ask();
    } catch (Failure const& failure) {
        std::cerr << "d2b: no service: " << failure.what() << "\n";
        return noService;
    }
    isJson ? PrintJson(status) : PrintText(status);
    if (!std::cout) {
        throw Failure(EIO, "cannot write the status");
    }
    return WhyDegraded(status).empty() ? 0 : degraded;
}

} // namespace

void AddStatusCommand(CLI::App& tool) {
    auto const json = std::make_shared<bool>(false);
    auto* const command =
        tool.add_subcommand("status", "Shows what the running service does; changes nothing.");
    AddJsonOption(*command, *json);
    command->callback([json] {
        if (int const status = ShowStatus(*json)) {
            throw CLI::RuntimeError(status);
        }
    });
}

} // namespace workstation::d2b

// How long requests to a running StreamMgr take, and how many notifications a subscriber takes.
// Usage: request_times TOOL, the path of a StreamMgrCli.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "IpcMessage.h"
#include "Item.h"
#include "LinxIpc.h"
#include "LinxServerNameList.h"
#include "MeasuredCommand.h"
#include "StreamMgrApi.h"
#include "api/ServiceMessages.h"
#include "api/ServiceRequest.h"
#include "ipc/Endpoint.h"
#include "ipc/Payload.h"

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

// Runs an operation that often and prints the percentiles of its times. False when it failed.
bool Measure(char const* name, int count, std::function<bool()> const& operation) {
    std::vector<double> times;
    for (int round = 0; round < count; ++round) {
        auto const start = Clock::now();
        if (!operation()) {
            std::cerr << name << " failed" << std::endl;
            return false;
        }
        times.push_back(Microseconds(Clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    auto const percentile = [&](std::size_t part) {
        return times[std::min(times.size() - 1, times.size() * part / 100)];
    };
    std::printf("%-34s %8.0f %8.0f %8.0f %8.0f\n", name, percentile(50), percentile(90),
                percentile(99), times.back());
    return true;
}

// Delivered only: nothing answers a ping.
bool Ping(LinxIpc& ipc) {
    constexpr char text[] = "ping";
    IpcMessage request;
    return request.Allocate(workstation::api::pingRequest, sizeof text, nullptr) == 0 &&
           request.Fill(text, sizeof text) == 0 &&
           ipc.Request(LinxServerNameList::Instance()->Name(e_StreamMgr), request, 0, -1,
                       nullptr) == 0;
}

bool AskLogLevel(LinxIpc& ipc) {
    using namespace workstation::api;
    UIntItem level;
    return Ask({ipc, LinxServerNameList::Instance()->Name(e_StreamMgr), 5000}, getLogLevelRequest,
               {}, getLogLevelReply, {&level}) == Answer::received;
}

// The service has recorded something until just now.
bool RecordAfterTheFact(LinxIpc& ipc) {
    std::time_t const now = std::time(nullptr);
    std::string reid;
    return StreamMgrApi::RecordAfterTheFact(ipc, static_cast<long>(now - 3600),
                                            static_cast<long>(now), reid, 5000,
                                            StreamMgrApi::EventStreamBoth) &&
           StreamMgrApi::DeleteEvent(reid, ipc);
}

// The last hour, as --ratf takes it.
std::string LastHour() {
    auto const text = [](std::time_t time) {
        tm local{};
        localtime_r(&time, &local);
        std::array<char, 16> buffer{};
        std::strftime(buffer.data(), buffer.size(), "%m%d%y-%H%M%S", &local);
        return std::string(buffer.data());
    };
    std::time_t const now = std::time(nullptr);
    return text(now - 3600) + "," + text(now);
}

// One sender as fast as the subscriber takes what it sends.
bool MeasureNotifications(LinxIpc& subscriber, std::string const& name) {
    constexpr unsigned int messageId = workstation::api::recordStartNotification;
    constexpr int count = 50000;
    std::thread sender([&] {
        auto const endpoint = workstation::ipc::Endpoint::Open("Benchmark");
        StringItem reid("20260131-134510:5f3a9c21");
        auto const payload = workstation::ipc::EncodeItems({&reid});
        for (int sent = 0; sent < count; ++sent) {
            endpoint.Send(name, messageId, payload, 0, 5000);
        }
    });
    auto const start = Clock::now();
    int received = 0;
    while (received < count &&
           subscriber.Receive(5000, messageId, LinxIpc::emptyString, nullptr) == 0) {
        ++received;
    }
    double const seconds = std::chrono::duration<double>(Clock::now() - start).count();
    sender.join();
    std::printf("notifications taken by one subscriber: %.0f a second\n", received / seconds);
    return received == count;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Usage: request_times TOOL" << std::endl;
        return 2;
    }
    std::string const tool = argv[1];
    std::string const name = "StreamMgrCli_benchmark";
    LinxIpc ipc(name);
    if (ipc.Init() != 0) {
        std::cerr << "no connection" << std::endl;
        return 1;
    }
    std::printf("%-34s %8s %8s %8s %8s\n", "microseconds", "median", "90 %", "99 %", "longest");
    bool const good =
        Measure("ping, delivered", 5000, [&] { return Ping(ipc); }) &&
        Measure("request with an answer", 5000, [&] { return AskLogLevel(ipc); }) &&
        Measure("record after the fact, delete", 200, [&] { return RecordAfterTheFact(ipc); }) &&
        Measure("StreamMgrCli --ping, the process", 100,
                [&] {
                    return benchmarks::Measure({tool, "--ping"}).has_value();
                }) &&
        Measure("StreamMgrCli --ratf, the process", 100,
                [&] {
                    return benchmarks::Measure({tool, "--ratf", LastHour()}).has_value();
                }) &&
        MeasureNotifications(ipc, name);
    return good ? 0 : 1;
}

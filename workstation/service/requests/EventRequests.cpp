// The requests about events, stream files and the database.
#include "service/requests/EventRequests.h"

#include <algorithm>
#include <ctime>
#include <exception>
#include <filesystem>
#include <limits>
#include <string>
#include <system_error>

#include "Failure.h"
#include "Item.h"
#include "LocalTime.h"
#include "Root.h"
#include "StreamMgrApi.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "log/PlatformLog.h"
#include "pool/PoolLayout.h"
#include "service/RecordOption.h"
#include "service/recording/RecordingSettings.h"
#include "service/requests/SendReply.h"

namespace workstation::service::requests {
namespace {

std::string Describe(store::RecordedFile const& file) {
    std::string const state = file.wiped ? ", wiped" : file.finished ? "" : ", being recorded";
    return "file " + std::to_string(file.fileNumber) + ", " + std::to_string(file.size) +
           " bytes, ticks " + std::to_string(file.firstTick) + " to " +
           std::to_string(file.lastTick) + ", " + LocalTime(file.startTime) + " to " +
           LocalTime(file.stopTime) + state;
}

// A relative path would be one of the client's working directory. A backup must not replace the
// pool.
void CheckBackupPath(std::string const& path) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    if (!fs::path(path).is_absolute()) {
        throw Failure(EINVAL, "'" + path + "' is not a full path");
    }
    if (fs::equivalent(path, PoolPath(), ignored)) {
        throw Failure(EINVAL, "'" + path + "' is the pool");
    }
}

class EventRequests {
public:
    explicit EventRequests(EventContext const& context)
        : context_(context) {}

    void DeleteEvent(ipc::Letter& request) const;
    void LogFileChain(ipc::Letter& request) const;
    void RecordAfterTheFact(ipc::Letter& request) const;
    void SetTagsComplete(ipc::Letter& request) const;
    void SplitEvent(ipc::Letter& request) const;
    void BackupDatabase(ipc::Letter& request) const;
    void UpdateFileSize(ipc::Letter& request) const;

private:
    template <typename Operation>
    bool Attempt(char const* what, Operation operation) const;
    void ReplyDone(ipc::Letter const& request, bool done) const;
    void LogNoEvent(std::string const& reid) const;

    EventContext context_;
};

// What the operation returns; false, after a log entry, when it throws: the client gets an answer
// in any case.
template <typename Operation>
bool EventRequests::Attempt(char const* what, Operation operation) const {
    try {
        return operation();
    } catch (std::exception const& failure) {
        log::LogError(std::string(what) + " failed: " + failure.what());
        return false;
    }
}

void EventRequests::ReplyDone(ipc::Letter const& request, bool done) const {
    BoolItem item(done);
    SendReply(context_.endpoint, request, api::doneReply, {&item});
}

// Subscribers also know the identifiers of recordings.
void EventRequests::LogNoEvent(std::string const& reid) const {
    log::LogNotification(context_.store.IsRecording(reid) ? reid + " is a recording, not an event"
                                                          : "there is no event " + reid);
}

void EventRequests::DeleteEvent(ipc::Letter& request) const {
    StringItem reid;
    if (!ipc::DecodeItems(request.payload, {&reid})) {
        return;
    }
    if (context_.store.DeleteEvent(reid.Value())) {
        log::LogNotification("deleted event " + reid.Value());
    } else {
        LogNoEvent(reid.Value());
    }
}

void EventRequests::LogFileChain(ipc::Letter& request) const {
    UIntItem stream;
    BoolItem withWiped;
    if (!ipc::DecodeItems(request.payload, {&stream, &withWiped})) {
        return;
    }
    // Requests count streams from 0.
    std::string const requested = " (requested as " + std::to_string(stream.Value()) + ")";
    std::uint64_t const number = std::uint64_t{stream.Value()} + 1;
    if (number > recording::recordStreamCount) {
        log::LogNotification("there is no stream " + std::to_string(number) + requested);
        return;
    }
    auto const chain = context_.store.Chain(static_cast<unsigned int>(number), withWiped.Value());
    log::LogNotification("file chain of stream " + std::to_string(number) + requested + ": " +
                             std::to_string(chain.size()) + " files",
                         log::Severity::info);
    for (store::RecordedFile const& file : chain) {
        log::LogNotification("  " + Describe(file), log::Severity::info);
    }
}

void EventRequests::RecordAfterTheFact(ipc::Letter& request) const {
    IntItem start;
    IntItem stop;
    UIntItem state;
    BoolItem made;
    StringItem reid;
    made.Value(Attempt("record after the fact", [&] {
        if (!ipc::DecodeItems(request.payload, {&start, &stop, &state})) {
            return false;
        }
        auto const event = context_.store.RecordAfterTheFact(
            start.Value(), stop.Value(), StreamsKept(state.Value()), std::time(nullptr));
        if (!event) {
            log::LogNotification("nothing is held of the interval from " +
                                 LocalTime(start.Value()) + " to " + LocalTime(stop.Value()));
            return false;
        }
        reid.Value(event->reid);
        log::LogNotification("made event " + event->reid + " from " + LocalTime(event->startTime) +
                             " to " + LocalTime(event->stopTime));
        return true;
    }));
    SendReply(context_.endpoint, request, api::recordAfterTheFactReply, {&made, &reid});
}

void EventRequests::SetTagsComplete(ipc::Letter& request) const {
    ReplyDone(request, Attempt("set tags complete", [&] {
                  StringItem reid;
                  if (!ipc::DecodeItems(request.payload, {&reid})) {
                      return false;
                  }
                  bool const isSet = context_.store.SetTagsComplete(reid.Value());
                  if (!isSet) {
                      LogNoEvent(reid.Value());
                  }
                  return isSet;
              }));
}

void EventRequests::SplitEvent(ipc::Letter& request) const {
    StringItem reid;
    UIntItem size;
    BoolItem taken;
    UIntItem usedSize;
    taken.Value(Attempt("split", [&] {
        if (!ipc::DecodeItems(request.payload, {&reid, &size}) || size.Value() == 0) {
            return false;
        }
        unsigned int const limitKiB = SplitLimitKiB(size.Value());
        auto const events = context_.store.SplitEvent(reid.Value(), limitKiB);
        if (!events) {
            LogNoEvent(reid.Value());
            return false;
        }
        // It differs from the requested size only if that is smaller than a slot.
        usedSize.Value(limitKiB == pool::poolSlotSizeKiB ? pool::poolSlotSizeKiB : size.Value());
        log::LogNotification("event " + reid.Value() + " now stands as " +
                             std::to_string(events->size()) + " events");
        for (store::Event const& event : *events) {
            log::LogNotification("  event " + event.reid);
        }
        return true;
    }));
    SendReply(context_.endpoint, request, api::splitEventReply, {&taken, &usedSize});
}

void EventRequests::BackupDatabase(ipc::Letter& request) const {
    ReplyDone(request, Attempt("backup", [&] {
                  StringItem path;
                  if (!ipc::DecodeItems(request.payload, {&path})) {
                      return false;
                  }
                  CheckBackupPath(path.Value());
                  context_.store.Backup(path.Value());
                  log::LogNotification("backed the database up to '" + path.Value() + "'");
                  return true;
              }));
}

// The table of files already states the new size.
void EventRequests::UpdateFileSize(ipc::Letter& request) const {
    ReplyDone(request, Attempt("update of a file size", [&] {
                  IntItem item;
                  if (!ipc::DecodeItems(request.payload, {&item}) || context_.pool == nullptr ||
                      !context_.pool->Has(item.Value())) {
                      return false;
                  }
                  int const number = item.Value();
                  std::uint32_t const size = context_.pool->Get(number, pool::EntryWord::length);
                  context_.pool->MarkKnown(number, context_.store.UpdateFileSize(number, size));
                  log::LogNotification(pool::StreamFileName(number) + " has " +
                                       std::to_string(size) + " bytes");
                  return true;
              }));
}

} // namespace

unsigned int StreamsKept(unsigned int state) {
    switch (state) {
    case StreamMgrApi::EventStreamRoutine:
        return 0b0101;
    case StreamMgrApi::EventStreamCritical:
        return 0b1010;
    case StreamMgrApi::EventStreamBoth:
        return 0b1111;
    default:
        return 0;
    }
}

unsigned int SplitLimitKiB(unsigned int size) {
    constexpr unsigned int mibInKiB = 1024;
    constexpr std::uint64_t gibInKiB = 1024 * std::uint64_t{mibInKiB};
    constexpr std::uint64_t largest = std::numeric_limits<unsigned int>::max();
    if (size % mibInKiB == 0) {
        return std::max(size, pool::poolSlotSizeKiB);
    }
    return static_cast<unsigned int>(std::min(size * gibInKiB, largest));
}

void AddEventRequests(RequestRouter& router, EventContext const& context) {
    auto const on = [&](std::uint32_t id, char const* name,
                        void (EventRequests::*handle)(ipc::Letter&) const) {
        router.On(id, name, [requests = EventRequests(context), handle](ipc::Letter& request) {
            (requests.*handle)(request);
        });
    };
    on(api::deleteEventRequest, "delete event", &EventRequests::DeleteEvent);
    on(api::logFileChainRequest, "file chain", &EventRequests::LogFileChain);
    on(api::recordAfterTheFactRequest, "record after the fact", &EventRequests::RecordAfterTheFact);
    on(api::setTagsCompleteRequest, "set tags complete", &EventRequests::SetTagsComplete);
    on(api::splitEventRequest, "split event", &EventRequests::SplitEvent);
    on(api::backupDatabaseRequest, "backup", &EventRequests::BackupDatabase);
    on(api::updateFileSizeRequest, "update of a file size", &EventRequests::UpdateFileSize);
}

} // namespace workstation::service::requests

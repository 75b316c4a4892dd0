// The requests that concern events and stream files.
#include "service/EventRequests.h"

#include <algorithm>
#include <ctime>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include "Item.h"
#include "Root.h"
#include "StreamMgrApi.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "log/PlatformLog.h"
#include "pool/PoolLayout.h"
#include "service/KnownFile.h"
#include "service/Reply.h"
#include "service/recording/RecordOption.h"

namespace workstation {
namespace {

constexpr unsigned int slotSizeKiB = poolSlotSize / 1024;

std::string LocalTime(std::int64_t seconds) {
    auto const time = static_cast<std::time_t>(seconds);
    std::tm local{};
    char text[] = "YYYY-MM-DD hh:mm:ss";
    if (localtime_r(&time, &local) == nullptr ||
        std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local) == 0) {
        return std::to_string(seconds);
    }
    return text;
}

std::string Describe(RecordedFile const& file) {
    std::string const state = file.wiped ? ", wiped" : file.finished ? "" : ", being recorded";
    return "file " + std::to_string(file.fileNumber) + ", " + std::to_string(file.size) +
           " bytes, ticks " + std::to_string(file.firstTick) + " to " +
           std::to_string(file.lastTick) + ", " + LocalTime(file.startTime) + " to " +
           LocalTime(file.stopTime) + state;
}

// A client's relative path means nothing here, and a backup must not take the place of the pool.
void CheckBackupPath(std::string const& path) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    if (!fs::path(path).is_absolute()) {
        throw std::invalid_argument("'" + path + "' is not a full path");
    }
    if (fs::equivalent(path, PoolPath(), ignored)) {
        throw std::invalid_argument("'" + path + "' is the pool");
    }
}

class EventRequests {
public:
    explicit EventRequests(EventContext const& context)
        : context_(context) {}

    void DeleteEvent(Letter& request) const;
    void LogFileChain(Letter& request) const;
    void RecordAfterTheFact(Letter& request) const;
    void SetTagsComplete(Letter& request) const;
    void SplitEvent(Letter& request) const;
    void BackupDatabase(Letter& request) const;
    void UpdateFileSize(Letter& request) const;

private:
    template <typename Operation>
    bool Attempt(char const* what, Operation operation) const;
    void ReplyDone(Letter const& request, bool done) const;

    EventContext context_;
};

// What the operation says; false, after a log entry, when it throws: the client is to be answered
// in any case.
template <typename Operation>
bool EventRequests::Attempt(char const* what, Operation operation) const {
    try {
        return operation();
    } catch (std::exception const& failure) {
        LogNotification(std::string(what) + " failed: " + failure.what());
        return false;
    }
}

void EventRequests::ReplyDone(Letter const& request, bool done) const {
    BoolItem item(done);
    Reply(context_.endpoint, request, doneReply, {&item});
}

void EventRequests::DeleteEvent(Letter& request) const {
    StringItem reid;
    if (!DecodeItems(request.payload, {&reid})) {
        return;
    }
    bool const known = context_.store.DeleteEvent(reid.Value());
    LogNotification((known ? "deleted event " : "there is no event ") + reid.Value());
}

void EventRequests::LogFileChain(Letter& request) const {
    UIntItem stream;
    BoolItem withWiped;
    if (!DecodeItems(request.payload, {&stream, &withWiped})) {
        return;
    }
    if (stream.Value() >= static_cast<unsigned int>(recordStreamCount)) {
        LogNotification("there is no stream " + std::to_string(stream.Value()));
        return;
    }
    auto const chain = context_.store.Chain(stream.Value() + 1, withWiped.Value());
    LogNotification("file chain of stream " + std::to_string(stream.Value()) + ": " +
                    std::to_string(chain.size()) + " files");
    for (RecordedFile const& file : chain) {
        LogNotification("  " + Describe(file));
    }
}

void EventRequests::RecordAfterTheFact(Letter& request) const {
    IntItem start;
    IntItem stop;
    UIntItem state;
    BoolItem made;
    StringItem reid;
    made.Value(Attempt("record after the fact", [&] {
        if (!DecodeItems(request.payload, {&start, &stop, &state})) {
            return false;
        }
        auto const event = context_.store.RecordAfterTheFact(
            start.Value(), stop.Value(), StreamsKept(state.Value()), std::time(nullptr));
        if (!event) {
            LogNotification("nothing is held of the interval from " + LocalTime(start.Value()) +
                            " to " + LocalTime(stop.Value()));
            return false;
        }
        reid.Value(event->reid);
        LogNotification("made event " + event->reid + " from " + LocalTime(event->startTime) +
                        " to " + LocalTime(event->stopTime));
        return true;
    }));
    Reply(context_.endpoint, request, recordAfterTheFactReply, {&made, &reid});
}

void EventRequests::SetTagsComplete(Letter& request) const {
    ReplyDone(request, Attempt("set tags complete", [&] {
                  StringItem reid;
                  return DecodeItems(request.payload, {&reid}) &&
                         context_.store.SetTagsComplete(reid.Value());
              }));
}

void EventRequests::SplitEvent(Letter& request) const {
    StringItem reid;
    UIntItem size;
    BoolItem taken;
    UIntItem usedSize;
    taken.Value(Attempt("split", [&] {
        if (!DecodeItems(request.payload, {&reid, &size}) || size.Value() == 0) {
            return false;
        }
        unsigned int const limitKiB = SplitLimitKiB(size.Value());
        auto const events = context_.store.SplitEvent(reid.Value(), limitKiB);
        if (!events) {
            LogNotification("there is no event " + reid.Value());
            return false;
        }
        // Only where files are larger than what was asked for is it another size.
        usedSize.Value(limitKiB == slotSizeKiB ? slotSizeKiB : size.Value());
        LogNotification("event " + reid.Value() + " now stands as " +
                        std::to_string(events->size()) + " events");
        for (Event const& event : *events) {
            LogNotification("  event " + event.reid);
        }
        return true;
    }));
    Reply(context_.endpoint, request, splitEventReply, {&taken, &usedSize});
}

void EventRequests::BackupDatabase(Letter& request) const {
    ReplyDone(request, Attempt("backup", [&] {
                  StringItem path;
                  if (!DecodeItems(request.payload, {&path})) {
                      return false;
                  }
                  CheckBackupPath(path.Value());
                  context_.store.Backup(path.Value());
                  LogNotification("backed the database up to '" + path.Value() + "'");
                  return true;
              }));
}

// The table of files has the new size already; the database follows it.
void EventRequests::UpdateFileSize(Letter& request) const {
    ReplyDone(request, Attempt("update of a file size", [&] {
                  IntItem number;
                  StreamMgrFileMgmnt::FileMgmnt_t file{};
                  if (!DecodeItems(request.payload, {&number}) ||
                      !context_.pool.GetFileInfo(number.Value(), file)) {
                      return false;
                  }
                  bool const known = context_.store.UpdateFileSize(number.Value(), file.fileSize);
                  MarkKnown(number.Value(), known);
                  LogNotification("stream file " + std::to_string(number.Value()) + " has " +
                                  std::to_string(file.fileSize) + " bytes");
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
    constexpr unsigned int firstKiB = 1024;
    constexpr unsigned int gibInKiB = 1024 * 1024;
    return size < firstKiB ? size * gibInKiB : std::max(size, slotSizeKiB);
}

void AddEventRequests(RequestRouter& router, EventContext const& context) {
    auto const on = [&](std::uint32_t id, char const* name,
                        void (EventRequests::*handle)(Letter&) const) {
        router.On(id, name, [requests = EventRequests(context), handle](Letter& request) {
            (requests.*handle)(request);
        });
    };
    on(deleteEventRequest, "delete event", &EventRequests::DeleteEvent);
    on(logFileChainRequest, "file chain", &EventRequests::LogFileChain);
    on(recordAfterTheFactRequest, "record after the fact", &EventRequests::RecordAfterTheFact);
    on(setTagsCompleteRequest, "set tags complete", &EventRequests::SetTagsComplete);
    on(splitEventRequest, "split event", &EventRequests::SplitEvent);
    on(backupDatabaseRequest, "backup", &EventRequests::BackupDatabase);
    on(updateFileSizeRequest, "update of a file size", &EventRequests::UpdateFileSize);
}

} // namespace workstation

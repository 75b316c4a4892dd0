// Hands the service whatever a client can ask for.
#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "Item.h"
#include "LogClient.h"
#include "Messages.h"
#include "Require.h"
#include "Root.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "pool/PoolImage.h"
#include "pool/PoolSession.h"
#include "service/requests/ControlRequests.h"
#include "service/requests/EventRequests.h"
#include "service/requests/SubscriptionRequests.h"
#include "service/ring/FileAllocator.h"
#include "service/subscribers/StorageNotifier.h"
#include "support/TemporaryRoot.h"

using namespace workstation;

namespace {

constexpr int fileCount = 6;
constexpr std::uint32_t noReply = 0;
constexpr std::uint32_t correlation = 77;

// Every request with the id of its answer, and an unknown id.
struct Request {
    std::uint32_t id;
    std::uint32_t reply;
};
constexpr std::array<Request, 17> requests{
    {{api::pingRequest, noReply},
     {api::quitRequest, noReply},
     {api::reapRequest, noReply},
     {api::infoRequest, noReply},
     {api::storageDumpRequest, noReply},
     {api::getLogLevelRequest, api::getLogLevelReply},
     {api::setLogLevelRequest, api::setLogLevelReply},
     {api::subscribeRequest, api::subscribeReply},
     {api::deleteEventRequest, noReply},
     {api::logFileChainRequest, noReply},
     {api::recordAfterTheFactRequest, api::recordAfterTheFactReply},
     {api::setTagsCompleteRequest, api::doneReply},
     {api::splitEventRequest, api::splitEventReply},
     {api::backupDatabaseRequest, api::doneReply},
     {api::updateFileSizeRequest, api::doneReply},
     {0xFFFFFFFF, noReply},
     {api::statusRequest, api::statusReply}}};

// All that answers requests, with a pool and a database that have something to be asked for.
class Service {
public:
    Service() {
        setenv("STREAMMGR_LOG", "/dev/null", 1);
        pool::PoolImage::Create(PoolPath(), fileCount);
        session_.Load(true);
        flusher_.emplace(session_.Pool());
        files_.emplace(session_, store_, *flusher_);
        service::requests::AddControlRequests(
            router_, {service_, [] {}, [this] { files_->Reap(); },
                      [] { return std::vector<std::string>{"info"}; },
                      [this] { return service::subscribers::DescribeStorage(Storage()); },
                      [] { return status::ServiceStatus(); }});
        service::requests::AddEventRequests(router_, {service_, &session_.Pool(), store_});
        service::requests::AddSubscriptionRequests(
            router_, {service_, subscribers_, [this](std::string const& name) {
                          notifier_.NotifyNewSubscriber(name, {});
                      }});
    }
    Service(Service const&) = delete;
    Service& operator=(Service const&) = delete;

    // As before every input: something recorded in all files, one event of them.
    void Renew() {
        LogClient::Instance()->Level(3);
        for (store::Event const& event : store_.Events()) {
            Require(store_.DeleteEvent(event.reid));
        }
        for (auto tick = static_cast<std::uint32_t>(store_.FilesInUse().size()); tick < fileCount;
             ++tick) {
            Record(static_cast<int>(tick % 4 + 1), tick);
        }
        Require(store_.RecordAfterTheFact(0, 100, 0xF, 100).has_value());
    }

    // Sends the request, and checks the answer.
    void Ask(Request const& request, std::vector<char> payload) {
        ipc::Letter letter{"Client", request.id, correlation, std::move(payload)};
        router_.Handle(letter);
        std::map<std::uint32_t, int> answers;
        while (auto const answer = client_.Receive()) {
            ++answers[answer->correlation];
            Require(answer->correlation == 0 ||
                    (answer->correlation == correlation && answer->id == request.reply));
        }
        Require(answers[correlation] == (request.reply == noReply ? 0 : 1));
    }

    // The identifier of the first event, for what is to be asked about one that is there.
    std::string KnownReid() const {
        auto const events = store_.Events();
        return events.empty() ? std::string() : events.front().reid;
    }

    std::string Backup() const { return root_.Path() / "backup"; }

    // Events hold files, files are held once in each slot, and the figures add up.
    void Check() const {
        for (store::Event const& event : store_.Events()) {
            auto const files = store_.FilesOf(event.reid);
            Require(!files.empty());
            Require(std::ranges::none_of(files, &store::RecordedFile::wiped));
        }
        std::set<int> numbers;
        for (store::RecordedFile const& file : store_.FilesInUse()) {
            Require(numbers.insert(file.fileNumber).second);
        }
        service::subscribers::StorageFigures const storage = Storage();
        Require(storage.total == storage.buffer + storage.untransferredNotInBuffer + storage.free);
        Require(storage.untransferredInBuffer <= storage.buffer);
    }

private:
    void Record(int stream, std::uint32_t tick) {
        auto const file = files_->Take(stream);
        Require(file != nullptr);
        service::recording::TickStamp const stamp{tick, static_cast<int>(tick)};
        std::vector<unsigned char> const packet(188, 0x47);
        file->Append(packet, service::ring::TickRange{stamp, stamp}, {});
        file->Finish();
    }

    service::subscribers::StorageFigures Storage() const {
        return service::subscribers::CountStorage(session_.Pool(), store_.FilesHeldByEvents());
    }

    TemporaryRoot root_;
    pool::PoolSession session_;
    store::EventStore store_{DatabasePath()};
    std::optional<service::ring::Flusher> flusher_;     // of the pool, once it is loaded
    std::optional<service::ring::FileAllocator> files_; // the same
    ipc::Endpoint service_ = ipc::Endpoint::Open("StreamMgr");
    ipc::Endpoint client_ = ipc::Endpoint::Open("Client");
    service::subscribers::Subscribers subscribers_{service_};
    service::subscribers::StorageNotifier notifier_{subscribers_, [this] { return Storage(); }};
    service::requests::RequestRouter router_;
};

std::vector<char> Encoded(std::string const& text) {
    StringItem item(text);
    return ipc::EncodeItems({&item});
}

// The upper half of the kinds are the same requests about something that exists: the payload then
// follows the identifier of an event. A backup is written to the test's root only.
std::vector<char> Payload(Service const& service, FuzzedMessage const& message, bool isBackup) {
    bool const isKnown = message.kind >= 0x80;
    if (isBackup && isKnown) {
        return Encoded(service.Backup());
    }
    if (isBackup && std::ranges::count(message.payload, '/') != 0) {
        return {};
    }
    if (!isKnown) {
        return message.payload;
    }
    auto payload = Encoded(service.KnownReid());
    payload.insert(payload.end(), message.payload.begin(), message.payload.end());
    return payload;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static Service service;
    service.Renew();
    for (FuzzedMessage const& message : MessagesIn({data, size})) {
        Request const& request = requests.at(message.kind % requests.size());
        service.Ask(request, Payload(service, message, request.id == api::backupDatabaseRequest));
    }
    service.Check();
    return 0;
}

// The workstation platform, as the contract cases find it.
#include "contract/Scene.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "Item.h"
#include "LinxServerNameList.h"
#include "StreamFileAccess.h"
#include "TsHelper.h"
#include "api/ServiceMessages.h"
#include "fakes/FakePool.h"
#include "ipc/DecodeRange.h"
#include "ipc/ServerThread.h"
#include "support/TestRoot.h"
#include "ts/SystemTickPacket.h"

using namespace workstation;

struct Scene::State {
    State() { setenv("STREAMMGR_LOG", Log().c_str(), 1); }
    ~State() { unsetenv("STREAMMGR_LOG"); }

    State(State const&) = delete;
    State& operator=(State const&) = delete;

    std::string Log() const { return root.Path() + "/log"; }

    TestRoot root;
    std::string payload;
    std::optional<ipc::DecodeScope> message;
    std::optional<ServerThread> service;
    std::optional<StreamFileAccess> listedFile;
};

Scene::Scene()
    : state_(std::make_unique<State>()) {}

Scene::~Scene() = default;

void Scene::MakePool(int files, std::map<int, long> const& lengths) {
    state_->root.MakePool(static_cast<std::uint32_t>(files));
    StreamFileAccess pool;
    if (!pool.InitializeFileAccess(false, false)) {
        throw std::runtime_error("no pool");
    }
    constexpr long after = 4096;
    for (auto const& [number, length] : lengths) {
        StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlExternalProc);
        std::string content = StreamFileContent(number, 0, length + after);
        auto const size = static_cast<unsigned int>(content.size());
        if (file.Write(content.data(), size) != static_cast<int>(size) ||
            file.Truncate(length) != 0) {
            throw std::runtime_error("no stream file");
        }
    }
    pool.Unload();
}

void Scene::ListThisProcess(int fileNumber) {
    if (!StreamFileAccess().InitializeFileAccess(false, true)) {
        throw std::runtime_error("no pool");
    }
    state_->listedFile.emplace(fileNumber, 0);
}

void Scene::RemoveProcessTable() {
    std::filesystem::remove(state_->root.ProcessTable());
}

unsigned char* Scene::Handle(std::string const& payload) {
    state_->message.reset();
    state_->payload = payload;
    state_->message.emplace(state_->payload.data(), state_->payload.size());
    return reinterpret_cast<unsigned char*>(state_->payload.data());
}

void Scene::Serve(std::vector<std::vector<Message>> replies) {
    std::string const& name = LinxServerNameList::Instance()->Name(e_StreamMgr);
    state_->service.emplace(name, [replies = std::move(replies)](ipc::Endpoint& endpoint) {
        for (auto const& messages : replies) {
            ipc::Letter const request = ServerThread::Next(endpoint);
            for (Message const& message : messages) {
                endpoint.Send(request.sender, message.id, message.payload, request.correlation,
                              patienceMs);
            }
        }
    });
}

void Scene::ServeSubscriptions(std::vector<Subscription> answers) {
    std::vector<std::vector<Message>> replies;
    for (Subscription const answer : answers) {
        auto& messages = replies.emplace_back();
        if (answer != Subscription::unanswered) {
            messages.push_back({api::subscribeReply,
                                answer == Subscription::accepted ? "\x01" : std::string(1, '\0')});
        }
    }
    Serve(std::move(replies));
}

std::vector<unsigned char> Scene::MakeStream(std::vector<StreamMetadata> const& ticks) {
    ts::SystemTickPacket media;
    media.fill(0xFF);
    media[0] = 0x47;
    media[1] = 0x01; // PID 0x100
    media[2] = 0x00;
    media[3] = 0x10;
    std::vector<unsigned char> stream;
    for (StreamMetadata const& tick : ticks) {
        if (!stream.empty()) {
            stream.insert(stream.end(), media.begin(), media.end());
            stream.insert(stream.end(), media.begin(), media.end());
        }
        auto const packet = ts::EncodeSystemTick(TsHelper::StreamSystickSystem, tick, 0);
        stream.insert(stream.end(), packet.begin(), packet.end());
    }
    return stream;
}

std::vector<std::string> Scene::LogEntries() const {
    std::vector<std::string> entries;
    std::ifstream log(state_->Log());
    for (std::string line; std::getline(log, line);) {
        entries.push_back(line.substr(line.find(' ') + 1)); // after the time
    }
    return entries;
}

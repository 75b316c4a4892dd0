// The scripted platform, as the contract cases find it.
#include "contract/Scene.h"

#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <sstream>

#include "fakes/FakePlatform.h"

struct Scene::State {
    FakePlatform platform;
};

Scene::Scene()
    : state_(std::make_unique<State>()) {
    state_->platform.serviceRuns = false;
}

Scene::~Scene() = default;

void Scene::MakePool(int files, std::map<int, long> const& lengths) {
    FakePool& pool = state_->platform.pool;
    pool.size = files;
    for (int number = 1; number <= files; ++number) {
        auto const length = lengths.find(number);
        long const stated = length == lengths.end() ? 0 : length->second;
        state_->platform.AddStreamFiles({number}, stated);
        pool.table[number] = {StreamMgrFileMgmnt::ControlUnknown, false, 0,
                              static_cast<unsigned int>(stated)};
    }
}

void Scene::ListThisProcess(int fileNumber) {
    constexpr std::size_t headerSize = 28;
    constexpr std::size_t recordSize = 772;
    auto& table = state_->platform.pool.processTable;
    table.assign(headerSize + 128 * recordSize, 0);
    auto const put = [&](std::size_t offset, int word) {
        std::memcpy(&table.at(headerSize + recordSize + offset), &word, sizeof word);
    };
    put(0, getpid());
    put(4, 1);          // marker
    put(8, 0x7F001234); // handle
    put(12, fileNumber);
}

void Scene::RemoveProcessTable() {
    state_->platform.ScriptAlways("Initialize", {0});
}

unsigned char* Scene::Handle(std::string const& payload) {
    state_->platform.message = payload;
    return reinterpret_cast<unsigned char*>(state_->platform.message.data());
}

void Scene::Serve(std::vector<std::vector<Message>> replies) {
    FakePlatform& platform = state_->platform;
    platform.serviceRuns = true;
    for (auto const& messages : replies) {
        auto& scripted = platform.replies.emplace_back();
        for (Message const& message : messages) {
            scripted.push_back({message.id, message.payload});
        }
    }
}

void Scene::ServeSubscriptions(std::vector<Subscription> answers) {
    FakePlatform& platform = state_->platform;
    platform.serviceRuns = true;
    int ordinal = 0;
    for (Subscription const answer : answers) {
        platform.Script("Subscribe", ++ordinal, {answer == Subscription::accepted ? 0 : -1});
    }
}

std::vector<unsigned char> Scene::MakeStream(std::vector<StreamMetadata> const& ticks) {
    constexpr std::size_t packetSize = 188;
    TickTable table;
    std::size_t size = 0;
    for (StreamMetadata const& tick : ticks) {
        size += size == 0 ? 0 : 2 * packetSize;
        table.emplace_back(static_cast<unsigned int>(size), tick);
        size += packetSize;
    }
    state_->platform.pool.tickTables.push_back(std::move(table));
    return std::vector<unsigned char>(size, 0x47);
}

std::vector<std::string> Scene::LogEntries() const {
    std::vector<std::string> entries;
    std::istringstream calls(state_->platform.Calls());
    for (std::string call; std::getline(calls, call);) {
        if (!call.starts_with("SysLogMsg(")) {
            continue;
        }
        auto const name = call.find('"') + 1; // SysLogMsg(1, "name", "text")
        auto const text = call.find("\", \"", name);
        entries.push_back(call.substr(name, text - name) + ": " +
                          call.substr(text + 4, call.size() - text - 6));
    }
    return entries;
}

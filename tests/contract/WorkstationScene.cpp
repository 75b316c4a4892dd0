// The workstation platform, as the contract cases find it.
#include "contract/Scene.h"

#include <optional>
#include <stdexcept>

#include "StreamFileAccess.h"
#include "fakes/FakePool.h"
#include "ipc/DecodeRange.h"
#include "support/TestRoot.h"

struct Scene::State {
    workstation::TestRoot root;
    std::string payload;
    std::optional<workstation::ipc::DecodeScope> message;
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
    constexpr long behind = 4096;
    for (auto const& [number, length] : lengths) {
        StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlExternalProc);
        std::string content = StreamFileContent(number, 0, length + behind);
        auto const size = static_cast<unsigned int>(content.size());
        if (file.Write(content.data(), size) != static_cast<int>(size) ||
            file.Truncate(length) != 0) {
            throw std::runtime_error("no stream file");
        }
    }
    pool.Unload();
}

unsigned char* Scene::Handle(std::string const& payload) {
    state_->message.reset();
    state_->payload = payload;
    state_->message.emplace(state_->payload.data(), state_->payload.size());
    return reinterpret_cast<unsigned char*>(state_->payload.data());
}

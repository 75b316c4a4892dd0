// The scripted platform, as the contract cases find it.
#include "contract/Scene.h"

#include "fakes/FakePlatform.h"

struct Scene::State {
    FakePlatform platform;
};

Scene::Scene()
    : state_(std::make_unique<State>()) {}

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

unsigned char* Scene::Handle(std::string const& payload) {
    state_->platform.message = payload;
    return reinterpret_cast<unsigned char*>(state_->platform.message.data());
}

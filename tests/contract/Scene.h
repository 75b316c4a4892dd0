// What a contract case finds on the platform that it runs on.
#pragma once

#include <map>
#include <memory>
#include <string>

// Exactly one lives at a time. The cases know no other difference between the platforms.
class Scene {
public:
    Scene();
    ~Scene();

    Scene(Scene const&) = delete;
    Scene& operator=(Scene const&) = delete;

    // Makes the pool: so many files, of which those in `lengths` have data of that many bytes,
    // StreamFileContent, which goes on behind it.
    void MakePool(int files, std::map<int, long> const& lengths);

    // Makes the bytes the payload of the message that is being handled, and returns its start.
    unsigned char* Handle(std::string const& payload);

private:
    struct State;
    std::unique_ptr<State> state_;
};

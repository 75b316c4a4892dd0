// What a contract case finds on the platform that it runs on.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "StreamMetadata.h"

// Exactly one lives at a time. The cases know no other difference between the platforms. In a new
// scene there is no pool and no service.
class Scene {
public:
    struct Message {
        unsigned int id;
        std::string payload;
    };
    enum class Subscription { accepted, refused, unanswered };

    Scene();
    ~Scene();

    Scene(Scene const&) = delete;
    Scene& operator=(Scene const&) = delete;

    // Makes the pool with so many files. Those in `lengths` have data of that many bytes,
    // StreamFileContent, which goes on after the stated length.
    void MakePool(int files, std::map<int, long> const& lengths);

    // Lists this process in the process table, with one thread that works on a file of the pool.
    void ListThisProcess(int fileNumber);

    // Leaves this recorder without a process table.
    void RemoveProcessTable();

    // Makes the bytes the payload of the message that is being handled, and returns its start.
    unsigned char* Handle(std::string const& payload);

    // Starts the service StreamMgr, which sends these messages as replies: to the first request the
    // first of the lists, and so on. There must be as many requests as there are lists.
    void Serve(std::vector<std::vector<Message>> replies);
    // The same for requests to subscribe.
    void ServeSubscriptions(std::vector<Subscription> answers);

    // A transport stream of whole packets of 188 bytes: each tick is a packet, and between two
    // ticks there are two packets without one. For one search.
    std::vector<unsigned char> MakeStream(std::vector<StreamMetadata> const& ticks);

    // The entries in the log, each as "process name: text".
    std::vector<std::string> LogEntries() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

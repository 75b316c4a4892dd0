// The starts and stops of recordings, on their way from the recordings' threads to the thread that
// notifies subscribers.
#pragma once

#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "FileDescriptor.h"
#include "store/EventStore.h"

namespace workstation::service {

struct RecordStarted {
    std::string reid;
};
struct RecordStopped {
    store::Event recording;
};

using StartOrStop = std::variant<RecordStarted, RecordStopped>;

// Any thread may post.
class StartStopQueue {
public:
    // Throws a Failure.
    StartStopQueue();

    void Post(StartOrStop startOrStop);

    // Makes the descriptor readable until Take is called: something else has changed.
    void Wake();

    // For poll(2): readable while the queue is not empty.
    int Descriptor() const { return event_.Get(); }

    // Empties the queue: everything that was posted, in its order. Never blocks.
    std::vector<StartOrStop> Take();

private:
    FileDescriptor event_;
    std::mutex mutex_;
    std::vector<StartOrStop> posted_;
};

} // namespace workstation::service
